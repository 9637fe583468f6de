#pragma once

#include "MemorySecretStore.h"
#include "app/state/AppState.h"
#include "config/Keychain.h"

#include <QNetworkAccessManager>

#include <memory>

// For tests of the app and interface layers (which link veldrin_app): an environment on the
// given network, with its settings file at `configPath` and its keychain in memory.
inline AppEnvironment testEnvironment(QNetworkAccessManager* network, const QString& configPath,
                                      MemorySecretStore& keychain)
{
    AppEnvironment environment;
    environment.network = network;
    environment.configStore = ConfigStore(configPath);
    environment.readToken = [&keychain] { return Keychain::readToken(keychain); };
    environment.saveToken = [&keychain](const QString& token) {
        return Keychain::saveToken(keychain, token);
    };
    return environment;
}

// An AppState in that environment with its session URL set to `sessionUrl`.
inline std::unique_ptr<AppState> makeTestState(AppEnvironment environment,
                                               const QString& sessionUrl)
{
    auto state = std::make_unique<AppState>(std::move(environment));
    AppConfig config = state->config();
    config.sessionUrl = sessionUrl;
    state->setConfig(config);
    return state;
}

inline std::unique_ptr<AppState> makeTestState(QNetworkAccessManager* network,
                                               const QString& configPath,
                                               MemorySecretStore& keychain,
                                               const QString& sessionUrl)
{
    return makeTestState(testEnvironment(network, configPath, keychain), sessionUrl);
}

// The loopback JMAP server that the Cyrus harness starts, as its environment names it; empty
// outside the harness, where the real-server tests skip.
struct TestServer
{
    QString sessionUrl = qEnvironmentVariable("VELDRIN_TEST_SESSION_URL");
    QString token = qEnvironmentVariable("VELDRIN_TEST_TOKEN");

    bool isRunning() const { return !sessionUrl.isEmpty() && !token.isEmpty(); }
};

// The token the keychain holds now, as the program would read it.
inline std::optional<QString> storedToken(MemorySecretStore& keychain)
{
    return Keychain::readToken(keychain);
}
