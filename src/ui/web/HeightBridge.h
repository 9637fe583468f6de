#pragma once

#include <QObject>

// The one object the height script can reach over the web channel. It takes numbers, with the
// address of the document they measure, and word that the document has been drawn; a report
// that is not a positive height, or no scroll position, is dropped.
class HeightBridge : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;

public Q_SLOTS:
    void report(double height, const QString& documentUrl);
    // Where the page is scrolled to, for a document taller than its view.
    void scrolled(double y, const QString& documentUrl);
    // The document has handed the engine its first frame since it was first measured.
    void painted(const QString& documentUrl);

Q_SIGNALS:
    void reported(int height, const QString& documentUrl);
    void scrolledTo(int y, const QString& documentUrl);
    void firstFramePainted(const QString& documentUrl);
};
