#include "ui/desktop/Icons.h"

#include <QApplication>
#include <QHash>
#include <QStandardPaths>
#include <QStyle>

namespace Icons {

namespace {

struct Entry
{
    // Tried in order: the freedesktop name first, then names some themes use instead.
    QStringList themeNames;
    QStyle::StandardPixmap fallback;
};

const QHash<QString, Entry>& table()
{
    static const QHash<QString, Entry> entries = {
        // Mailboxes by role.
        {QStringLiteral("tray"), {{"mail-folder-inbox", "mail-inbox"}, QStyle::SP_DirIcon}},
        {QStringLiteral("doc"), {{"document-edit", "text-x-generic"}, QStyle::SP_FileIcon}},
        {QStringLiteral("paperplane"),
         {{"mail-folder-sent", "mail-send", "mail-sent"}, QStyle::SP_ArrowForward}},
        {QStringLiteral("archivebox"),
         {{"mail-folder-archive", "archive-insert", "folder-documents"}, QStyle::SP_DirClosedIcon}},
        {QStringLiteral("xmark.bin"), {{"mail-mark-junk"}, QStyle::SP_MessageBoxWarning}},
        {QStringLiteral("trash"), {{"user-trash", "edit-delete"}, QStyle::SP_TrashIcon}},
        {QStringLiteral("folder"), {{"folder"}, QStyle::SP_DirIcon}},
        // Mail actions and states.
        {QStringLiteral("square.and.pencil"),
         {{"mail-message-new", "document-new"}, QStyle::SP_FileDialogNewFolder}},
        {QStringLiteral("arrowshape.turn.up.left"), {{"mail-reply-sender"}, QStyle::SP_ArrowBack}},
        {QStringLiteral("arrowshape.turn.up.left.2"), {{"mail-reply-all"}, QStyle::SP_ArrowBack}},
        {QStringLiteral("arrowshape.turn.up.right"), {{"mail-forward"}, QStyle::SP_ArrowForward}},
        {QStringLiteral("envelope.badge"),
         {{"mail-mark-unread", "mail-unread"}, QStyle::SP_FileIcon}},
        {QStringLiteral("envelope.open"), {{"mail-read", "mail-message"}, QStyle::SP_FileIcon}},
        {QStringLiteral("flag"), {{"mail-flag", "flag"}, QStyle::SP_DialogApplyButton}},
        {QStringLiteral("flag.fill"),
         {{"flag-red", "mail-flagged", "mail-flag", "flag"}, QStyle::SP_DialogApplyButton}},
        {QStringLiteral("paperclip"), {{"mail-attachment"}, QStyle::SP_FileLinkIcon}},
        {QStringLiteral("square.stack"),
         {{"document-multiple", "edit-copy"}, QStyle::SP_FileDialogListView}},
        {QStringLiteral("photo"), {{"image-x-generic"}, QStyle::SP_FileIcon}},
        {QStringLiteral("clock"),
         {{"clock", "appointment-soon", "chronometer"}, QStyle::SP_BrowserReload}},
        {QStringLiteral("calendar"),
         {{"view-calendar", "x-office-calendar", "office-calendar"}, QStyle::SP_FileIcon}},
        {QStringLiteral("calendar.badge.minus"),
         {{"view-calendar-tasks", "x-office-calendar", "office-calendar"}, QStyle::SP_FileIcon}},
        // Search and navigation.
        {QStringLiteral("magnifyingglass"),
         {{"edit-find", "system-search"}, QStyle::SP_FileDialogContentsView}},
        {QStringLiteral("xmark.circle.fill"),
         {{"edit-clear", "edit-clear-symbolic"}, QStyle::SP_LineEditClearButton}},
        {QStringLiteral("chevron.down"), {{"arrow-down", "go-down"}, QStyle::SP_ArrowDown}},
        {QStringLiteral("chevron.right"), {{"arrow-right", "go-next"}, QStyle::SP_ArrowRight}},
        {QStringLiteral("arrow.clockwise"), {{"view-refresh"}, QStyle::SP_BrowserReload}},
        // Status.
        {QStringLiteral("exclamationmark.triangle"),
         {{"dialog-warning"}, QStyle::SP_MessageBoxWarning}},
        {QStringLiteral("exclamationmark.triangle.fill"),
         {{"dialog-warning"}, QStyle::SP_MessageBoxWarning}},
        {QStringLiteral("checkmark.circle.fill"),
         {{"emblem-success", "emblem-ok", "dialog-ok-apply"}, QStyle::SP_DialogApplyButton}},
        {QStringLiteral("network.slash"),
         {{"network-disconnect", "network-offline"}, QStyle::SP_MessageBoxWarning}},
        // Windows, settings and directories.
        {QStringLiteral("person.crop.circle"),
         {{"user-identity", "im-user"}, QStyle::SP_DirHomeIcon}},
        {QStringLiteral("gearshape"),
         {{"configure", "preferences-system"}, QStyle::SP_FileDialogDetailedView}},
        {QStringLiteral("keyboard"),
         {{"input-keyboard", "preferences-desktop-keyboard"}, QStyle::SP_FileDialogDetailedView}},
        {QStringLiteral("ladybug"), {{"tools-report-bug"}, QStyle::SP_MessageBoxQuestion}},
        {QStringLiteral("lock.shield"),
         {{"security-high", "object-locked", "system-lock-screen"}, QStyle::SP_VistaShield}},
        {QStringLiteral("plus"), {{"list-add"}, QStyle::SP_FileDialogNewFolder}},
        {QStringLiteral("plus.circle"), {{"list-add"}, QStyle::SP_FileDialogNewFolder}},
        {QStringLiteral("minus.circle"), {{"list-remove"}, QStyle::SP_DialogDiscardButton}},
        {QStringLiteral("theatermasks"),
         {{"view-private", "im-invisible-user"}, QStyle::SP_MessageBoxInformation}},
    };
    return entries;
}

} // namespace

void useFallbackTheme()
{
    // Platforms without a desktop theme (offscreen, minimal, some window managers) name no
    // theme and search no system folder. The icon theme rules say to use "hicolor" then, and
    // the themes live in the data folders' "icons".
    QStringList paths = QIcon::themeSearchPaths();
    for (const QString& path :
         QStandardPaths::locateAll(QStandardPaths::GenericDataLocation, QStringLiteral("icons"),
                                   QStandardPaths::LocateDirectory))
        if (!paths.contains(path))
            paths << path;
    QIcon::setThemeSearchPaths(paths);
    if (QIcon::themeName().isEmpty())
        QIcon::setThemeName(QStringLiteral("hicolor"));
    QIcon::setFallbackThemeName(QString::fromLatin1(fallbackTheme));
}

QStringList symbols()
{
    return table().keys();
}

QStringList themeNames(const QString& symbol)
{
    return table().value(symbol).themeNames;
}

QIcon icon(const QString& symbol)
{
    const auto it = table().constFind(symbol);
    if (it == table().constEnd())
        return QIcon::fromTheme(symbol);
    for (const QString& name : it->themeNames)
        if (QIcon::hasThemeIcon(name))
            return QIcon::fromTheme(name);
    return QApplication::style()->standardIcon(it->fallback);
}

} // namespace Icons
