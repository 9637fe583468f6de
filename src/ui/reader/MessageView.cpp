#include "MessageView.h"

#include "AttachmentChip.h"
#include "InvitationBox.h"
#include "app/state/AppState.h"
#include "content/DateFormat.h"
#include "content/EmailAddresses.h"
#include "content/EmailHTML.h"
#include "content/Unsubscribe.h"
#include "ui/desktop/Icons.h"
#include "ui/threads/Avatar.h"
#include "ui/threads/ElidedLabel.h"
#include "ui/threads/ViewColors.h"
#include "ui/web/MailWebView.h"
#include "ui/web/MailWebViewPool.h"

#include <QContextMenuEvent>
#include <QGridLayout>
#include <QLabel>
#include <QLocale>
#include <QMenu>
#include <QPainter>
#include <QPushButton>
#include <QStyleOptionFocusRect>
#include <QTimeZone>
#include <QToolButton>
#include <QVBoxLayout>

namespace {

QCoro::Task<QByteArray> loadPart(QPointer<AppState> state, BodyPart part)
{
    if (!state)
        co_return QByteArray();
    co_return co_await state->partData(std::move(part));
}

QString names(const QList<EmailAddress>& addresses)
{
    QStringList list;
    for (const EmailAddress& address : addresses)
        list << EmailAddresses::displayName(address);
    return list.join(QStringLiteral(", "));
}

QString fullAddresses(const QList<EmailAddress>& addresses)
{
    QStringList list;
    for (const EmailAddress& address : addresses)
        list << EmailAddresses::formatted(address);
    return list.join(QStringLiteral(", "));
}

void makeSecondary(QWidget* widget)
{
    QPalette palette = widget->palette();
    palette.setColor(QPalette::WindowText, secondaryTextColor(palette));
    widget->setPalette(palette);
}

QString longDate(const QDateTime& date)
{
    return DateFormat::abbreviatedDateShortTime(date, QLocale(), QTimeZone::systemTimeZone());
}

// A ring drawn over the message, letting every click through to what lies below.
class OutlineRing : public QWidget
{
public:
    explicit OutlineRing(QWidget* parent) : QWidget(parent)
    {
        setObjectName(QStringLiteral("messageOutline"));
        setAttribute(Qt::WA_TransparentForMouseEvents);
        setAttribute(Qt::WA_NoSystemBackground);
        setFocusPolicy(Qt::NoFocus);
        hide();
    }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(QPen(palette().color(QPalette::Highlight), 2));
        painter.setBrush(Qt::NoBrush);
        painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), 4, 4);
    }
};

} // namespace

MessageHeader::MessageHeader(QWidget* parent) : QFrame(parent)
{
    setObjectName(QStringLiteral("messageHeader"));
    setFocusPolicy(Qt::StrongFocus);
    setCursor(Qt::PointingHandCursor);
}

void MessageHeader::mouseReleaseEvent(QMouseEvent* event)
{
    QFrame::mouseReleaseEvent(event);
    if (event->button() == Qt::LeftButton && rect().contains(event->position().toPoint()))
        Q_EMIT toggled();
}

void MessageHeader::keyPressEvent(QKeyEvent* event)
{
    switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Space:
        Q_EMIT toggled();
        return;
    default:
        QFrame::keyPressEvent(event);
    }
}

void MessageHeader::contextMenuEvent(QContextMenuEvent* event)
{
    Q_EMIT contextMenuRequested(event->globalPos());
}

void MessageHeader::focusInEvent(QFocusEvent* event)
{
    QFrame::focusInEvent(event);
    update();
}

void MessageHeader::focusOutEvent(QFocusEvent* event)
{
    QFrame::focusOutEvent(event);
    update();
}

void MessageHeader::paintEvent(QPaintEvent* event)
{
    QFrame::paintEvent(event);
    if (!hasFocus())
        return;
    QPainter painter(this);
    QStyleOptionFocusRect option;
    option.initFrom(this);
    option.rect = rect().adjusted(1, 1, -1, -1);
    style()->drawPrimitive(QStyle::PE_FrameFocusRect, &option, &painter, this);
}

MessageView::MessageView(AppState* state, const Email& email, QWidget* parent,
                         MailWebViewPool* webViews)
    : QFrame(parent), m_state(state), m_webViews(webViews), m_email(email)
{
    setObjectName(QStringLiteral("messageView"));
    setFrameShape(QFrame::StyledPanel);
    setAutoFillBackground(true);
    setBackgroundRole(QPalette::Base);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);

    m_header = new MessageHeader(this);
    auto* grid = new QGridLayout(m_header);
    grid->setContentsMargins(12, 10, 12, 10);
    grid->setHorizontalSpacing(10);
    grid->setVerticalSpacing(2);
    m_avatar = new AvatarView(32, m_header);
    grid->addWidget(m_avatar, 0, 0, 2, 1, Qt::AlignTop);

    auto* firstLine = new QHBoxLayout();
    firstLine->setSpacing(6);
    m_sender = new ElidedLabel(m_header);
    m_sender->setObjectName(QStringLiteral("senderName"));
    QFont bold = m_sender->font();
    bold.setWeight(QFont::DemiBold);
    m_sender->setFont(bold);
    m_flag = new QLabel(m_header);
    m_flag->setPixmap(Icons::icon(QStringLiteral("flag.fill")).pixmap(14, 14));
    m_flag->setAccessibleName(tr("Flagged"));
    m_date = new QLabel(m_header);
    m_date->setObjectName(QStringLiteral("messageDate"));
    makeSecondary(m_date);
    m_editDraft = new QPushButton(tr("Edit Draft"), m_header);
    m_editDraft->setObjectName(QStringLiteral("editDraftButton"));
    m_editDraft->setAutoDefault(false);
    m_unsubscribe = new QPushButton(tr("Unsubscribe"), m_header);
    m_unsubscribe->setObjectName(QStringLiteral("unsubscribeButton"));
    m_unsubscribe->setAutoDefault(false);
    m_unsubscribe->setToolTip(tr("Leave the mailing list this message came from"));
    firstLine->addWidget(m_sender, 1);
    firstLine->addWidget(m_editDraft);
    firstLine->addWidget(m_unsubscribe);
    firstLine->addWidget(m_flag);
    firstLine->addWidget(m_date);
    grid->addLayout(firstLine, 0, 1);

    auto* secondLine = new QHBoxLayout();
    secondLine->setSpacing(6);
    m_recipients = new ElidedLabel(m_header);
    m_recipients->setObjectName(QStringLiteral("recipients"));
    makeSecondary(m_recipients);
    m_detailsToggle = new QToolButton(m_header);
    m_detailsToggle->setObjectName(QStringLiteral("detailsToggle"));
    m_detailsToggle->setAutoRaise(true);
    m_detailsToggle->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    m_detailsToggle->setIcon(Icons::icon(QStringLiteral("chevron.down")));
    m_detailsToggle->setIconSize(QSize(12, 12));
    m_detailsToggle->setFocusPolicy(Qt::TabFocus);
    secondLine->addWidget(m_recipients, 1);
    secondLine->addWidget(m_detailsToggle);
    grid->addLayout(secondLine, 1, 1);
    grid->setColumnStretch(1, 1);
    layout->addWidget(m_header);
    m_outline = new OutlineRing(this);

    QObject::connect(m_header, &MessageHeader::toggled, this, [this] {
        if (m_state)
            m_state->toggleExpanded(m_email.id);
    });
    QObject::connect(m_header, &MessageHeader::contextMenuRequested, this,
                     &MessageView::showContextMenu);
    QObject::connect(m_editDraft, &QPushButton::clicked, this, [this] {
        if (m_state)
            m_state->editDraft(m_email);
    });
    QObject::connect(m_unsubscribe, &QPushButton::clicked, this, [this] {
        if (m_state)
            m_state->unsubscribe(m_email);
    });
    QObject::connect(state, &AppState::pendingSendsChanged, this, &MessageView::showPendingSend);
    QObject::connect(m_detailsToggle, &QToolButton::clicked, this, [this] {
        if (m_state)
            m_state->toggleDetails(m_email.id);
    });
    QObject::connect(state, &AppState::configChanged, this, [this] {
        showHeader();
        if (m_body)
            showDocument();
    });
    showHeader();
}

MessageView::~MessageView()
{
    releaseWebView();
}

void MessageView::releaseWebView()
{
    if (!m_web || !m_webViews)
        return;
    m_bodyLayout->removeWidget(m_web);
    m_webViews->give(std::exchange(m_web, nullptr));
}

void MessageView::setEmail(const Email& email)
{
    if (email == m_email)
        return;
    m_email = email;
    showHeader();
    if (m_body) {
        showDetails();
        showPendingSend();
        showDocument();
        showAttachments();
    }
}

void MessageView::showHeader()
{
    const std::optional<EmailAddress> sender = m_email.from && !m_email.from->isEmpty()
                                                   ? std::optional(m_email.from->first())
                                                   : std::nullopt;
    m_avatar->setAddress(sender);
    m_sender->setFullText(m_email.senderName());
    m_flag->setVisible(m_email.isFlagged());
    m_editDraft->setVisible(m_email.isDraft());
    m_unsubscribe->setVisible(!m_email.isDraft() && Unsubscribe::method(m_email).has_value());
    m_date->setText(longDate(m_email.receivedAt));
    const QString to = m_email.to ? names(*m_email.to) : QString();
    m_recipients->setFullText(to.isEmpty() ? QString() : tr("To: %1").arg(to));
    const QString toggleTitle = m_showsDetails ? tr("Hide Details") : tr("Show Details");
    m_detailsToggle->setText(toggleTitle);
    m_detailsToggle->setAccessibleName(toggleTitle);
    QString help = toggleTitle;
    if (m_state)
        if (const auto binding = m_state->config().binding(MailAction::ToggleDetails))
            help += QStringLiteral("   ") + binding->display();
    m_detailsToggle->setToolTip(help);
    m_header->setAccessibleName(
        tr("Message from %1, %2").arg(m_email.senderName(), m_date->text()));
    m_header->setAccessibleDescription(isExpanded() ? tr("Expanded") : tr("Collapsed"));
}

bool MessageView::isOutlined() const
{
    return !m_outline->isHidden();
}

void MessageView::setOutlined(bool outlined)
{
    if (outlined == isOutlined())
        return;
    m_outline->setGeometry(rect());
    m_outline->setVisible(outlined);
    m_outline->raise();
}

void MessageView::resizeEvent(QResizeEvent* event)
{
    QFrame::resizeEvent(event);
    m_outline->setGeometry(rect());
    m_outline->raise();
}

void MessageView::setShowsDetails(bool shows)
{
    if (m_showsDetails == shows)
        return;
    m_showsDetails = shows;
    showHeader();
    if (m_body)
        showDetails();
}

void MessageView::setExpanded(bool expanded)
{
    if (expanded == isExpanded())
        return;
    if (expanded) {
        buildBody();
    } else {
        // Collapsing gives the web view back: a long thread keeps only what is open.
        releaseWebView();
        delete m_body;
        m_body = nullptr;
        m_bodyLayout = nullptr;
        m_details = nullptr;
        m_remoteRow = nullptr;
        m_pendingRow = nullptr;
        m_pendingText = nullptr;
        m_invitation = nullptr;
        m_web = nullptr;
        m_attachments = nullptr;
        m_shownAttachments.clear();
    }
    m_outline->raise();
    showHeader();
    Q_EMIT resized();
}

void MessageView::buildBody()
{
    m_body = new QWidget(this);
    m_body->setObjectName(QStringLiteral("messageBody"));
    m_bodyLayout = new QVBoxLayout(m_body);
    m_bodyLayout->setContentsMargins(0, 0, 0, 8);
    m_bodyLayout->setSpacing(0);
    auto* divider = new QFrame(m_body);
    divider->setFrameShape(QFrame::HLine);
    divider->setFrameShadow(QFrame::Plain);
    divider->setForegroundRole(QPalette::Midlight);
    m_bodyLayout->addWidget(divider);

    // Hidden remote images, said once above the body.
    m_remoteRow = new QWidget(m_body);
    m_remoteRow->setObjectName(QStringLiteral("remoteContentRow"));
    auto* remote = new QHBoxLayout(m_remoteRow);
    remote->setContentsMargins(12, 6, 12, 6);
    auto* photo = new QLabel(m_remoteRow);
    photo->setPixmap(Icons::icon(QStringLiteral("photo")).pixmap(16, 16));
    auto* hidden = new QLabel(tr("Images in this message are hidden."), m_remoteRow);
    makeSecondary(hidden);
    auto* show = new QPushButton(tr("Show Images"), m_remoteRow);
    show->setObjectName(QStringLiteral("showImagesButton"));
    remote->addWidget(photo);
    remote->addWidget(hidden, 1);
    remote->addWidget(show);
    QObject::connect(show, &QPushButton::clicked, this, [this] {
        m_allowRemoteContent = true;
        showDocument();
    });

    // A send the server holds, with the way back to the draft.
    m_pendingRow = new QWidget(m_body);
    m_pendingRow->setObjectName(QStringLiteral("pendingSendRow"));
    auto* pending = new QHBoxLayout(m_pendingRow);
    pending->setContentsMargins(12, 6, 12, 6);
    auto* clock = new QLabel(m_pendingRow);
    clock->setPixmap(Icons::icon(QStringLiteral("clock")).pixmap(16, 16));
    m_pendingText = new QLabel(m_pendingRow);
    auto* cancel = new QPushButton(tr("Cancel Send"), m_pendingRow);
    cancel->setObjectName(QStringLiteral("cancelSendButton"));
    cancel->setAutoDefault(false);
    pending->addWidget(clock);
    pending->addWidget(m_pendingText, 1);
    pending->addWidget(cancel);
    m_pendingRow->hide();
    QObject::connect(cancel, &QPushButton::clicked, this, [this] {
        if (m_state)
            m_state->cancelScheduledSend(m_email);
    });

    m_web = m_webViews ? m_webViews->take(m_body) : new MailWebView(m_body);
    m_web->setObjectName(QStringLiteral("messageWebView"));
    m_web->setFixedHeight(qMax(m_web->viewHeight(), 40));
    QObject::connect(m_web, &MailWebView::contentHeightChanged, this, [this](int height) {
        if (!m_web || height <= 0)
            return;
        m_web->setFixedHeight(m_web->viewHeight());
        Q_EMIT resized();
    });
    m_bodyLayout->addWidget(m_pendingRow);
    m_bodyLayout->addWidget(m_remoteRow);
    if (m_email.calendarPart()) {
        // Inset like the rows above, so that it reads as part of this message.
        auto* inset = new QVBoxLayout();
        inset->setContentsMargins(12, 8, 12, 4);
        m_invitation = new InvitationBox(m_state, m_email, m_body);
        inset->addWidget(m_invitation);
        m_bodyLayout->addLayout(inset);
    }
    m_bodyLayout->addWidget(m_web);
    layout()->addWidget(m_body);
    showDetails();
    showPendingSend();
    showDocument();
    showAttachments();
}

void MessageView::showPendingSend()
{
    if (!m_pendingRow || !m_state)
        return;
    const auto pending = m_state->pendingSends().constFind(m_email.id);
    const bool held = pending != m_state->pendingSends().cend();
    if (held)
        m_pendingText->setText(tr("Sends %1").arg(longDate(pending->sendAt)));
    if (held != !m_pendingRow->isHidden()) {
        m_pendingRow->setVisible(held);
        Q_EMIT resized();
    }
}

void MessageView::showDetails()
{
    delete m_details;
    m_details = nullptr;
    if (!m_showsDetails || !m_body)
        return;
    m_details = new QWidget(m_body);
    m_details->setObjectName(QStringLiteral("messageDetails"));
    auto* grid = new QGridLayout(m_details);
    grid->setContentsMargins(12, 8, 12, 8);
    grid->setHorizontalSpacing(12);
    grid->setVerticalSpacing(3);
    auto* heading = new QLabel(tr("Message Details"), m_details);
    QFont bold = heading->font();
    bold.setWeight(QFont::DemiBold);
    heading->setFont(bold);
    grid->addWidget(heading, 0, 0, 1, 2);
    int row = 1;
    auto addRow = [&](const QString& label, const QString& value) {
        if (value.isEmpty())
            return;
        auto* name = new QLabel(label, m_details);
        makeSecondary(name);
        name->setAlignment(Qt::AlignRight | Qt::AlignTop);
        auto* text = new QLabel(value, m_details);
        text->setTextFormat(Qt::PlainText);
        text->setWordWrap(true);
        text->setTextInteractionFlags(Qt::TextSelectableByMouse);
        name->setBuddy(text);
        text->setAccessibleName(label);
        grid->addWidget(name, row, 0);
        grid->addWidget(text, row, 1);
        ++row;
    };
    auto addresses = [](const std::optional<QList<EmailAddress>>& list) {
        return list ? fullAddresses(*list) : QString();
    };
    addRow(tr("From"), addresses(m_email.from));
    addRow(tr("Reply-To"), addresses(m_email.replyTo));
    addRow(tr("To"), addresses(m_email.to));
    addRow(tr("Cc"), addresses(m_email.cc));
    addRow(tr("Bcc"), addresses(m_email.bcc));
    addRow(tr("Date"), longDate(m_email.receivedAt));
    addRow(tr("Subject"), m_email.subject.value_or(QString()));
    addRow(tr("Size"), m_email.size ? QLocale().formattedDataSize(*m_email.size) : QString());
    grid->setColumnStretch(1, 1);
    // Right under the divider.
    m_bodyLayout->insertWidget(1, m_details);
}

bool MessageView::remoteContentAllowed() const
{
    return m_allowRemoteContent || (m_state && m_state->config().loadRemoteImages);
}

void MessageView::showDocument()
{
    if (!m_web)
        return;
    const bool allow = remoteContentAllowed();
    m_remoteRow->setVisible(!allow && EmailHTML::hasRemoteContent(m_email));
    QPointer<AppState> state = m_state;
    m_web->setDocument(EmailHTML::wrap(EmailHTML::body(m_email), allow),
                       m_email.inlineParts().values(),
                       [state](BodyPart part) { return loadPart(state, std::move(part)); });
}

void MessageView::showAttachments()
{
    const QList<BodyPart> parts = m_email.listedAttachments();
    if (m_attachments && parts == m_shownAttachments)
        return;
    delete m_attachments;
    m_attachments = nullptr;
    m_shownAttachments = parts;
    if (parts.isEmpty() || !m_body)
        return;
    m_attachments = new QWidget(m_body);
    m_attachments->setObjectName(QStringLiteral("attachments"));
    auto* flow = new QGridLayout(m_attachments);
    flow->setContentsMargins(12, 8, 12, 4);
    flow->setSpacing(6);
    // Three chips a row keeps long names readable in a narrow reader.
    constexpr int perRow = 3;
    for (int i = 0; i < parts.size(); ++i)
        flow->addWidget(new AttachmentChip(m_state, parts.at(i), m_attachments), i / perRow,
                        i % perRow, Qt::AlignLeft);
    flow->setColumnStretch(perRow, 1);
    m_bodyLayout->addWidget(m_attachments);
}

QList<AttachmentChip*> MessageView::attachmentChips() const
{
    return m_attachments ? m_attachments->findChildren<AttachmentChip*>()
                         : QList<AttachmentChip*>();
}

void MessageView::showContextMenu(const QPoint& globalPosition)
{
    QMenu menu(this);
    menu.addAction(tr("Show Raw Message"), this, [this] {
        if (m_state)
            m_state->showRawMessage(m_email);
    });
    menu.exec(globalPosition);
}
