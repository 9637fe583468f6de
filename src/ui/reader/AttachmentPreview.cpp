#include "AttachmentPreview.h"

#include "app/state/AppState.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDesktopServices>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFile>
#include <QFileInfo>
#include <QFontDatabase>
#include <QImageReader>
#include <QLabel>
#include <QMimeDatabase>
#include <QPdfDocument>
#include <QPdfView>
#include <QPlainTextEdit>
#include <QScreen>
#include <QScrollArea>
#include <QUrl>
#include <QVBoxLayout>

namespace {

const QString previewerService = QStringLiteral("org.gnome.NautilusPreviewer");
// Text past this many bytes is left out of the preview; it is only a glance.
constexpr qint64 textPreviewLimit = 4 * 1024 * 1024;

QWidget* imageView(const QString& path, QWidget* parent)
{
    QImageReader reader(path);
    reader.setAutoTransform(true);
    const QImage image = reader.read();
    if (image.isNull())
        return nullptr;
    auto* label = new QLabel(parent);
    const QSize limit(1000, 760);
    const QSize size = image.size().boundedTo(limit);
    label->setPixmap(QPixmap::fromImage(
        image.size() == size ? image
                             : image.scaled(limit, Qt::KeepAspectRatio, Qt::SmoothTransformation)));
    label->setAlignment(Qt::AlignCenter);
    label->setAccessibleName(QFileInfo(path).fileName());
    return label;
}

QWidget* textView(const QString& path, QWidget* parent)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return nullptr;
    auto* editor = new QPlainTextEdit(parent);
    editor->setReadOnly(true);
    editor->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    editor->setPlainText(QString::fromUtf8(file.read(textPreviewLimit)));
    editor->setAccessibleName(QFileInfo(path).fileName());
    editor->setMinimumSize(720, 520);
    return editor;
}

QWidget* pdfView(const QString& path, QWidget* parent)
{
    // The document outlives the view: a view that is torn down before its document would
    // still hear from it while the document closes.
    auto* document = new QPdfDocument(parent);
    if (document->load(path) != QPdfDocument::Error::None) {
        delete document;
        return nullptr;
    }
    auto* view = new QPdfView(parent);
    view->setDocument(document);
    view->setPageMode(QPdfView::PageMode::MultiPage);
    view->setZoomMode(QPdfView::ZoomMode::FitToWidth);
    view->setAccessibleName(QFileInfo(path).fileName());
    view->setMinimumSize(720, 760);
    return view;
}

} // namespace

AttachmentPreview::AttachmentPreview(AppState* state, QWidget* window)
    : QObject(window), m_state(state), m_window(window),
      m_opener([](const QString& path) { QDesktopServices::openUrl(QUrl::fromLocalFile(path)); })
{
    QObject::connect(state, &AppState::quickLookPathChanged, this, &AttachmentPreview::show);
}

QDialog* AttachmentPreview::previewDialog(const QString& path, QWidget* parent)
{
    const QMimeType type = QMimeDatabase().mimeTypeForFile(path);
    auto* dialog = new QDialog(parent);
    QWidget* content = nullptr;
    if (type.name().startsWith(QLatin1String("image/")))
        content = imageView(path, dialog);
    else if (type.inherits(QStringLiteral("application/pdf")))
        content = pdfView(path, dialog);
    else if (type.inherits(QStringLiteral("text/plain")))
        content = textView(path, dialog);
    if (!content) {
        delete dialog;
        return nullptr;
    }
    dialog->setObjectName(QStringLiteral("attachmentPreview"));
    dialog->setWindowTitle(QFileInfo(path).fileName());
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    auto* layout = new QVBoxLayout(dialog);
    layout->addWidget(content, 1);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, dialog);
    QObject::connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::reject);
    layout->addWidget(buttons);
    return dialog;
}

bool AttachmentPreview::showOnDesktop(const QString& path)
{
    if (!m_useDesktop)
        return false;
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected() || !bus.interface() ||
        !bus.interface()->isServiceRegistered(previewerService).value())
        return false;
    QDBusMessage call = QDBusMessage::createMethodCall(
        previewerService, QStringLiteral("/org/gnome/NautilusPreviewer"), previewerService,
        QStringLiteral("ShowFile"));
    call << QUrl::fromLocalFile(path).toString() << 0 << false;
    return bus.send(call);
}

void AttachmentPreview::show()
{
    const std::optional<QString> path = m_state->quickLookPath();
    if (!path)
        return;
    // The request is taken: the same file can be asked for again.
    m_state->setQuickLookPath(std::nullopt);
    if (showOnDesktop(*path))
        return;
    if (QDialog* dialog = previewDialog(*path, m_window)) {
        if (m_dialog)
            m_dialog->close();
        m_dialog = dialog;
        dialog->show();
        return;
    }
    m_opener(*path);
}
