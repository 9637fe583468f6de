#include "SystemSecretStore.h"

#include <QEventLoop>
#include <QObject>

#include <qt6keychain/keychain.h>

#include <memory>

namespace {

// Starts the job and waits for its end. A backend may finish the job inside start(), so the
// loop only runs when it has not finished yet.
QKeychain::Error runToCompletion(QKeychain::Job& job)
{
    job.setAutoDelete(false);
    bool finished = false;
    QEventLoop loop;
    QObject::connect(&job, &QKeychain::Job::finished, &loop, [&finished, &loop] {
        finished = true;
        loop.quit();
    });
    job.start();
    if (!finished)
        loop.exec(QEventLoop::ExcludeUserInputEvents);
    return job.error();
}

} // namespace

std::optional<QByteArray> SystemSecretStore::read()
{
    QKeychain::ReadPasswordJob job(m_service);
    job.setKey(m_key);
    if (runToCompletion(job) != QKeychain::NoError)
        return std::nullopt;
    return job.binaryData();
}

bool SystemSecretStore::remove()
{
    QKeychain::DeletePasswordJob job(m_service);
    job.setKey(m_key);
    const QKeychain::Error error = runToCompletion(job);
    return error == QKeychain::NoError || error == QKeychain::EntryNotFound;
}

bool SystemSecretStore::add(const QByteArray& data)
{
    QKeychain::WritePasswordJob job(m_service);
    job.setKey(m_key);
    job.setBinaryData(data);
    return runToCompletion(job) == QKeychain::NoError;
}
