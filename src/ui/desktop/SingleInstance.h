#pragma once

#include <QObject>
#include <QStringList>

class QLocalServer;

// Keeps one running Veldrin per user: the first process listens on a local socket in the
// runtime directory, later ones send it their arguments.
class SingleInstance : public QObject
{
    Q_OBJECT
public:
    explicit SingleInstance(const QString& name, QObject* parent = nullptr);
    // True when this process is the one instance.
    bool claim();
    // Sends the arguments to the running instance; gives whether it took them.
    bool handOver(const QStringList& arguments);

Q_SIGNALS:
    void received(const QStringList& arguments);

private:
    QString m_name;
    QLocalServer* m_server = nullptr;
};
