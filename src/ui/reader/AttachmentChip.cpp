#include "AttachmentChip.h"

#include "app/state/AppState.h"
#include "ui/desktop/Icons.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QDrag>
#include <QEventLoop>
#include <QMenu>
#include <QMouseEvent>
#include <QUrl>

namespace {

const QString uriList = QStringLiteral("text/uri-list");

struct FetchResult
{
    std::optional<QString> path;
    bool done = false;
};

QCoro::Task<> fetchInto(QPointer<AppState> state, BodyPart part, FetchResult* result,
                        QEventLoop* loop)
{
    try {
        const QString path = co_await state->attachmentFile(part);
        result->path = path;
    } catch (...) {
        if (state)
            state->report(std::current_exception());
    }
    result->done = true;
    loop->quit();
}

} // namespace

AttachmentMimeData::AttachmentMimeData(AppState* state, BodyPart part)
    : m_state(state), m_part(std::move(part))
{
}

QStringList AttachmentMimeData::formats() const
{
    return {uriList};
}

bool AttachmentMimeData::hasFormat(const QString& mimeType) const
{
    return mimeType == uriList;
}

std::optional<QString> AttachmentMimeData::fetch() const
{
    if (m_path || !m_state)
        return m_path;
    ++m_fetches;
    // The drop waits for the file: run the download to its end right here.
    QEventLoop loop;
    FetchResult result;
    fetchInto(m_state, m_part, &result, &loop);
    if (!result.done)
        loop.exec(QEventLoop::ExcludeUserInputEvents);
    m_path = result.path;
    return m_path;
}

QVariant AttachmentMimeData::retrieveData(const QString& mimeType, QMetaType type) const
{
    if (mimeType != uriList)
        return {};
    const auto path = fetch();
    if (!path)
        return {};
    const QUrl url = QUrl::fromLocalFile(*path);
    if (type.id() == QMetaType::QByteArray || type.id() == QMetaType::QString)
        return QVariant(url.toEncoded() + "\r\n");
    return QVariantList{url};
}

AttachmentChip::AttachmentChip(AppState* state, BodyPart part, QWidget* parent)
    : QToolButton(parent), m_state(state), m_part(std::move(part))
{
    setObjectName(QStringLiteral("attachmentChip"));
    setIcon(Icons::icon(QStringLiteral("paperclip")));
    // An "&" in a file name is a character, not a keyboard mnemonic.
    setText(AppState::fileName(m_part).replace(u'&', QStringLiteral("&&")));
    setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    setToolTip(tr("Click to preview, drag to copy it somewhere"));
    setAccessibleName(AppState::fileName(m_part));
    setCursor(Qt::PointingHandCursor);
    QObject::connect(this, &QToolButton::clicked, this, [this] {
        if (m_state)
            m_state->quickLook(m_part);
    });
}

AttachmentMimeData* AttachmentChip::dragData() const
{
    return new AttachmentMimeData(m_state, m_part);
}

void AttachmentChip::mousePressEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton)
        m_pressPosition = event->position().toPoint();
    QToolButton::mousePressEvent(event);
}

void AttachmentChip::mouseMoveEvent(QMouseEvent* event)
{
    if (!(event->buttons() & Qt::LeftButton) ||
        (event->position().toPoint() - m_pressPosition).manhattanLength() <
            QApplication::startDragDistance()) {
        QToolButton::mouseMoveEvent(event);
        return;
    }
    // A drag is not a click: let go of the button before the drag takes the mouse.
    setDown(false);
    auto* drag = new QDrag(this);
    drag->setMimeData(dragData());
    drag->setPixmap(icon().pixmap(32, 32));
    drag->exec(Qt::CopyAction);
}

void AttachmentChip::contextMenuEvent(QContextMenuEvent* event)
{
    QMenu menu(this);
    menu.addAction(tr("Quick Look"), this, [this] {
        if (m_state)
            m_state->quickLook(m_part);
    });
    menu.addAction(tr("Save to Downloads"), this, [this] {
        if (m_state)
            m_state->saveAttachment(m_part);
    });
    menu.exec(event->globalPos());
}
