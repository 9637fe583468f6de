#include "AppState.h"

#include "app/demo/DemoData.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMimeDatabase>
#include <QSaveFile>
#include <QtConcurrent/QtConcurrentRun>

#include <QCoroFuture>

namespace {

// One path segment from a server's string: it cannot climb out of its folder.
QString safeSegment(QString text)
{
    text.replace(u'/', u'_');
    text.replace(QChar(u'\0'), u'_');
    if (text.isEmpty() || text == u"." || text == u"..")
        text.prepend(u'_');
    return text;
}

// The first free path for a name in a folder: "report.pdf", "report 2.pdf", "report 3.pdf".
QString freePath(const QDir& folder, const QString& name)
{
    QString candidate = folder.filePath(name);
    const QFileInfo info(name);
    const QString stem = info.completeBaseName();
    const QString extension = stem.isEmpty() ? QString() : info.suffix();
    for (int n = 2; QFileInfo::exists(candidate); ++n) {
        const QString numbered = extension.isEmpty()
                                     ? QStringLiteral("%1 %2").arg(name).arg(n)
                                     : QStringLiteral("%1 %2.%3").arg(stem).arg(n).arg(extension);
        candidate = folder.filePath(numbered);
    }
    return candidate;
}

} // namespace

void AppState::setQuickLookPath(const std::optional<QString>& path)
{
    if (m_quickLookPath == path)
        return;
    m_quickLookPath = path;
    Q_EMIT quickLookPathChanged();
}

void AppState::setRawMessage(const std::optional<RawMessage>& message)
{
    if (m_rawMessage == message)
        return;
    m_rawMessage = message;
    Q_EMIT rawMessageChanged();
}

QString AppState::fileName(const BodyPart& part)
{
    QString name = part.name.value_or(QString());
    name.replace(u'/', u'_');
    name.replace(u':', u'_');
    // A name of dots alone would name the folder itself or its parent.
    if (!name.isEmpty() && name.count(u'.') != name.size())
        return name;
    const QMimeType type = QMimeDatabase().mimeTypeForName(part.type);
    const QString extension = type.isValid() ? type.preferredSuffix() : QString();
    return extension.isEmpty() ? QStringLiteral("attachment")
                               : QStringLiteral("attachment.") + extension;
}

QCoro::Task<QByteArray> AppState::partData(BodyPart part)
{
    // Demo mail carries its own bytes and needs no network.
    if (!m_service && m_environment.demo && part.blobId)
        if (auto bytes = DemoData::blob(*part.blobId))
            co_return *bytes;
    if (!m_service || !part.blobId)
        throw JMAPError::malformed(QStringLiteral("attachment without content"));
    const std::shared_ptr<MailService> service = m_service;
    co_return co_await service->client()->download(*part.blobId, fileName(part), part.type);
}

QCoro::Task<QString> AppState::attachmentFile(BodyPart part)
{
    if (!part.blobId)
        throw JMAPError::malformed(QStringLiteral("attachment without content"));
    const QDir folder(QDir(m_environment.attachmentCacheDir).filePath(safeSegment(*part.blobId)));
    const QString path = folder.filePath(fileName(part));
    // Blob ids never change content: a file that is there is right.
    if (QFileInfo::exists(path))
        co_return path;
    const QByteArray data = co_await partData(part);
    if (!QDir().mkpath(folder.path()))
        throw MessageError(QStringLiteral("Could not create the folder %1.")
                               .arg(QDir::toNativeSeparators(folder.path())));
    // Written whole or not at all, so a file in the cache is always complete.
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(data) != data.size() || !file.commit())
        throw MessageError(QStringLiteral("Could not save %1: %2")
                               .arg(QDir::toNativeSeparators(path), file.errorString()));
    co_return path;
}

void AppState::quickLook(const BodyPart& part)
{
    runQuickLook(this, part);
}

QCoro::Task<> AppState::runQuickLook(QPointer<AppState> self, BodyPart part)
{
    try {
        const QString path = co_await self->attachmentFile(part);
        if (self)
            self->setQuickLookPath(path);
    } catch (...) {
        if (self)
            self->report(std::current_exception());
    }
}

void AppState::openAttachment(const BodyPart& part)
{
    runOpenAttachment(this, part);
}

QCoro::Task<> AppState::runOpenAttachment(QPointer<AppState> self, BodyPart part)
{
    try {
        const QString path = co_await self->attachmentFile(part);
        if (self && self->m_environment.openUrl)
            self->m_environment.openUrl(QUrl::fromLocalFile(path));
    } catch (...) {
        if (self)
            self->report(std::current_exception());
    }
}

void AppState::saveAttachment(const BodyPart& part)
{
    runSaveAttachment(this, part);
}

QCoro::Task<> AppState::runSaveAttachment(QPointer<AppState> self, BodyPart part)
{
    try {
        // Past the cache: the user asked for a copy of their own.
        const QByteArray data = co_await self->partData(part);
        if (!self)
            co_return;
        const QDir folder(self->m_environment.downloadsDir);
        if (!QDir().mkpath(folder.path()))
            throw MessageError(QStringLiteral("Could not create the folder %1.")
                                   .arg(QDir::toNativeSeparators(folder.path())));
        const QString path = freePath(folder, fileName(part));
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly | QIODevice::NewOnly) ||
            file.write(data) != data.size())
            throw MessageError(QStringLiteral("Could not save %1: %2")
                                   .arg(QDir::toNativeSeparators(path), file.errorString()));
        file.close();
        if (self->m_environment.revealFile)
            self->m_environment.revealFile(path);
    } catch (...) {
        if (self)
            self->report(std::current_exception());
    }
}

void AppState::showRawMessage(const Email& email)
{
    if (!m_service || !email.blobId) {
        if (m_environment.demo)
            setRawMessage(
                RawMessage{email.id, email.subject.value_or(QString()), DemoData::source(email)});
        return;
    }
    // The sheet opens at once and shows that it is loading.
    setRawMessage(RawMessage{email.id, email.subject.value_or(QString()), std::nullopt});
    runRawMessage(this, m_service, email.id, *email.blobId);
}

QCoro::Task<> AppState::runRawMessage(QPointer<AppState> self, std::shared_ptr<MailService> service,
                                      QString emailId, QString blobId)
{
    try {
        const QByteArray data = co_await service->client()->download(
            blobId, QStringLiteral("message.eml"), QStringLiteral("text/plain"));
        // A sheet closed or opened on another message meanwhile is left alone.
        if (!self || !self->m_rawMessage || self->m_rawMessage->id != emailId)
            co_return;
        RawMessage message = *self->m_rawMessage;
        message.source = QString::fromUtf8(data);
        self->setRawMessage(message);
    } catch (...) {
        if (!self)
            co_return;
        if (self->m_rawMessage && self->m_rawMessage->id == emailId)
            self->setRawMessage(std::nullopt);
        self->report(std::current_exception());
    }
}

void AppState::setChooseAttachments(std::function<void(ComposeDraft*)> choose)
{
    m_chooseAttachments = std::move(choose);
}

void AppState::attach(const QList<QUrl>& urls, ComposeDraft* draft)
{
    if (!draft)
        return;
    // A folder dropped before is forgotten once this drop attaches something; a folder in this
    // drop says so again below.
    const QString folderError = QStringLiteral("Only files can be attached, not folders.");
    const bool hadFolderError = draft->error() == folderError;
    bool refused = false;
    auto attachments = draft->attachments();
    const qsizetype before = attachments.size();
    for (const QUrl& url : urls) {
        const bool known = std::any_of(attachments.cbegin(), attachments.cend(),
                                       [&](const DraftAttachment& a) { return a.fileUrl == url; });
        if (known)
            continue;
        const QFileInfo info(url.toLocalFile());
        if (!url.isLocalFile() || !info.exists() || info.isDir()) {
            draft->setError(folderError);
            refused = true;
            continue;
        }
        DraftAttachment attachment;
        attachment.id = QUuid::createUuid();
        attachment.name = info.fileName();
        const QMimeType mime = QMimeDatabase().mimeTypeForFile(info);
        attachment.type =
            mime.isDefault() ? QStringLiteral("application/octet-stream") : mime.name();
        attachment.size = info.size();
        attachment.fileUrl = url;
        attachments.append(attachment);
    }
    if (hadFolderError && !refused && attachments.size() > before)
        draft->setError(std::nullopt);
    draft->setAttachments(attachments);
    draftChanged(draft);
}

namespace {

// Runs on a pool thread: the whole file, or nothing when it cannot be read.
std::optional<QByteArray> readWholeFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    return file.readAll();
}

OutgoingAttachment outgoing(const QString& blobId, const DraftAttachment& attachment)
{
    OutgoingAttachment result;
    result.blobId = blobId;
    result.name = attachment.name;
    result.type = attachment.type;
    return result;
}

} // namespace

QCoro::Task<QList<OutgoingAttachment>> AppState::upload(QList<DraftAttachment> attachments,
                                                        std::shared_ptr<ComposeDraft> draft,
                                                        std::shared_ptr<MailService> service)
{
    QList<OutgoingAttachment> result;
    for (qsizetype index = 0; index < attachments.size(); ++index) {
        const DraftAttachment attachment = attachments.at(index);
        if (attachment.blobId) {
            result.append(outgoing(*attachment.blobId, attachment));
            continue;
        }
        if (!attachment.fileUrl)
            continue;
        // Reading a large file must not stall the windows.
        QFuture<std::optional<QByteArray>> reading =
            QtConcurrent::run(readWholeFile, attachment.fileUrl->toLocalFile());
        const std::optional<QByteArray> data = co_await reading;
        if (!data)
            throw MessageError(
                QStringLiteral("The file “%1” could not be read.").arg(attachment.name));
        const QString blobId = co_await service->client()->upload(*data, attachment.type);
        // The next save need not send it again, if the user still has it attached.
        QList<DraftAttachment> current = draft->attachments();
        for (DraftAttachment& candidate : current)
            if (candidate.id == attachment.id)
                candidate.blobId = blobId;
        draft->setAttachments(current);
        result.append(outgoing(blobId, attachment));
    }
    co_return result;
}
