#pragma once

#include "MailDocument.h"

#include <QHash>
#include <QUrl>
#include <QWebEngineProfile>

#include <memory>

class QWebEngineSettings;

// The one web profile of the process that every mail web view shares: off the record, no cookie
// ever accepted, nothing cached on disk, and the settings that could reach the network or the
// disk pinned off. It answers cid: requests and our own document scheme, and blocks requests a
// document's policy should never have let through, for every view at once. Documents register
// under a random token that their URLs carry, so a request is answered only with the parts of
// the message that made it.
class MailWebProfile : public QWebEngineProfile
{
    Q_OBJECT
public:
    static constexpr char cidScheme[] = "cid";
    static constexpr char documentScheme[] = "veldrin-doc";

    // Registers both schemes; must run before the application object exists.
    static void registerSchemes();
    // The profile, made on first use and owned by the application object.
    static MailWebProfile* instance();
    // Pins off every setting that could reach the network, the disk or a script.
    static void applyPolicy(QWebEngineSettings* settings);

    // The address a document with this token is loaded from (or based at).
    static QUrl documentUrl(const QString& token);
    static QString newToken();

    // The profile keeps only weak references: a document is served while its view holds it.
    void addDocument(const std::shared_ptr<MailDocument>& document);
    std::shared_ptr<MailDocument> document(const QString& token) const;
    // The document a request belongs to, from its initiator or first-party URL.
    std::shared_ptr<MailDocument> documentOf(const QUrl& origin) const;

private:
    explicit MailWebProfile(QObject* parent);

    QHash<QString, std::weak_ptr<MailDocument>> documents;
};
