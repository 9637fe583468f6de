#pragma once

#include <QObject>
#include <QPointer>

#include <functional>

class AppState;
class QDialog;
class QWidget;

// Shows a received file when the state asks for a preview: the desktop's previewer when one
// runs on the session bus, else a window of our own for images, text and PDF, else the file's
// default application.
class AttachmentPreview : public QObject
{
    Q_OBJECT
public:
    AttachmentPreview(AppState* state, QWidget* window);

    // How the file opens when we cannot show it; the desktop's default application unless a
    // test records it.
    void setOpener(std::function<void(const QString& path)> opener)
    {
        m_opener = std::move(opener);
    }
    // Whether the desktop's previewer may be asked; tests keep the preview in the program.
    void setUseDesktopPreviewer(bool use) { m_useDesktop = use; }

    // Our own preview window for a file, or null when it is neither image, text nor PDF.
    static QDialog* previewDialog(const QString& path, QWidget* parent);
    // The last preview window we opened.
    QDialog* dialog() const { return m_dialog; }

private:
    void show();
    bool showOnDesktop(const QString& path);

    AppState* m_state;
    QWidget* m_window;
    std::function<void(const QString&)> m_opener;
    bool m_useDesktop = true;
    QPointer<QDialog> m_dialog;
};
