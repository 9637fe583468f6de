#include "SingleInstance.h"

#include <QDataStream>
#include <QDir>
#include <QLocalServer>
#include <QLocalSocket>
#include <QStandardPaths>

namespace {

QString socketPath(const QString& name)
{
    QString directory = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    if (directory.isEmpty())
        directory = QDir::tempPath();
    return QDir(directory).filePath(name + QStringLiteral(".socket"));
}

} // namespace

SingleInstance::SingleInstance(const QString& name, QObject* parent)
    : QObject(parent), m_name(socketPath(name))
{
}

bool SingleInstance::claim()
{
    {
        QLocalSocket probe;
        probe.connectToServer(m_name);
        if (probe.waitForConnected(500))
            return false;
    }
    // Nobody answers: whatever socket file is left is stale.
    QLocalServer::removeServer(m_name);
    m_server = new QLocalServer(this);
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    if (!m_server->listen(m_name))
        return true; // run on regardless; only the hand-over is lost
    QObject::connect(m_server, &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket* socket = m_server->nextPendingConnection()) {
            QObject::connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
            QObject::connect(socket, &QLocalSocket::readyRead, this, [this, socket] {
                QDataStream stream(socket);
                stream.startTransaction();
                QStringList arguments;
                stream >> arguments;
                if (!stream.commitTransaction())
                    return;
                Q_EMIT received(arguments);
            });
        }
    });
    return true;
}

bool SingleInstance::handOver(const QStringList& arguments)
{
    QLocalSocket socket;
    socket.connectToServer(m_name);
    if (!socket.waitForConnected(1000))
        return false;
    QByteArray data;
    QDataStream stream(&data, QIODevice::WriteOnly);
    stream << arguments;
    socket.write(data);
    const bool written = socket.waitForBytesWritten(1000);
    socket.disconnectFromServer();
    return written;
}
