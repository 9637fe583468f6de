#pragma once

#include <QObject>

// The one object the height script can reach over the web channel. It takes a number and
// nothing else; a report that is not a positive height is dropped.
class HeightBridge : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;

public Q_SLOTS:
    void report(double height);

Q_SIGNALS:
    void reported(int height);
};
