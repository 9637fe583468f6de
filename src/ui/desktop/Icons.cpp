#include "ui/desktop/Icons.h"

#include <QApplication>
#include <QHash>
#include <QStyle>

namespace Icons {

QIcon icon(const QString& symbol)
{
    struct Entry
    {
        const char* theme;
        QStyle::StandardPixmap fallback;
    };
    static const QHash<QString, Entry> table = {
        {QStringLiteral("tray"), {"mail-folder-inbox", QStyle::SP_DriveHDIcon}},
        {QStringLiteral("doc"), {"document-edit", QStyle::SP_FileIcon}},
        {QStringLiteral("paperplane"), {"mail-send", QStyle::SP_ArrowForward}},
        {QStringLiteral("archivebox"), {"folder-documents", QStyle::SP_DirClosedIcon}},
        {QStringLiteral("xmark.bin"), {"mail-mark-junk", QStyle::SP_MessageBoxWarning}},
        {QStringLiteral("trash"), {"user-trash", QStyle::SP_TrashIcon}},
        {QStringLiteral("folder"), {"folder", QStyle::SP_DirIcon}},
        {QStringLiteral("exclamationmark.triangle"),
         {"dialog-warning", QStyle::SP_MessageBoxWarning}},
        {QStringLiteral("exclamationmark.triangle.fill"),
         {"dialog-warning", QStyle::SP_MessageBoxWarning}},
        {QStringLiteral("checkmark.circle.fill"), {"emblem-ok", QStyle::SP_DialogApplyButton}},
        {QStringLiteral("square.and.pencil"), {"mail-message-new", QStyle::SP_FileDialogNewFolder}},
        {QStringLiteral("person.crop.circle"), {"user-identity", QStyle::SP_DirHomeIcon}},
    };
    const auto it = table.constFind(symbol);
    if (it == table.constEnd())
        return QIcon::fromTheme(symbol);
    const QIcon themed = QIcon::fromTheme(QLatin1String(it->theme));
    if (!themed.isNull())
        return themed;
    return QApplication::style()->standardIcon(it->fallback);
}

} // namespace Icons
