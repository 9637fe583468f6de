#include "Errors.h"

const char* Error::what() const noexcept
{
    m_what = description().toUtf8();
    return m_what.constData();
}

JMAPError JMAPError::http(int status, const QString& body)
{
    JMAPError error(Kind::Http);
    error.m_status = status;
    error.m_text = body;
    return error;
}

JMAPError JMAPError::method(const QString& type, const QString& description)
{
    JMAPError error(Kind::Method);
    error.m_text = type;
    error.m_methodDescription = description;
    return error;
}

JMAPError JMAPError::malformed(const QString& detail)
{
    JMAPError error(Kind::Malformed);
    error.m_text = detail;
    return error;
}

JMAPError JMAPError::unauthorized()
{
    return JMAPError(Kind::Unauthorized);
}
JMAPError JMAPError::noMailAccount()
{
    return JMAPError(Kind::NoMailAccount);
}
JMAPError JMAPError::noMaskedEmailAccess()
{
    return JMAPError(Kind::NoMaskedEmailAccess);
}
JMAPError JMAPError::noContactsAccess()
{
    return JMAPError(Kind::NoContactsAccess);
}

QString JMAPError::description() const
{
    switch (m_kind) {
    case Kind::Http:
        return QStringLiteral("Fastmail returned HTTP %1. %2").arg(m_status).arg(m_text);
    case Kind::Method:
        if (m_methodDescription.isEmpty())
            return QStringLiteral("JMAP error: %1").arg(m_text);
        return QStringLiteral("JMAP error: %1 (%2)").arg(m_text, m_methodDescription);
    case Kind::Malformed:
        return QStringLiteral("Unexpected response from Fastmail: %1").arg(m_text);
    case Kind::Unauthorized:
        return QStringLiteral("Fastmail rejected the API token. Check it in Settings.");
    case Kind::NoMailAccount:
        return QStringLiteral("This token has no access to a mail account.");
    case Kind::NoMaskedEmailAccess:
        return QStringLiteral("This token has no access to Masked Email. Create one in Fastmail "
                              "that includes it, and paste it in Settings.");
    case Kind::NoContactsAccess:
        return QStringLiteral("This token has no access to contacts. Create one in Fastmail that "
                              "includes Contacts, and paste it in Settings.");
    }
    return {};
}

bool JMAPError::operator==(const JMAPError& other) const
{
    return m_kind == other.m_kind && m_status == other.m_status && m_text == other.m_text &&
           m_methodDescription == other.m_methodDescription;
}

TransportError TransportError::reaching(QNetworkReply::NetworkError code, const QUrl& url,
                                        const QString& reason)
{
    const QString host = url.host().isEmpty() ? url.toDisplayString() : url.host();
    QString text = reason.trimmed();
    while (text.endsWith(u'.'))
        text.chop(1);
    return TransportError(code, QStringLiteral("Could not reach %1: %2.").arg(host, text));
}

QString CancelledError::description() const
{
    return QStringLiteral("The operation was cancelled.");
}

namespace Errors {

QString describe(std::exception_ptr error)
{
    try {
        std::rethrow_exception(error);
    } catch (const Error& e) {
        return e.description();
    } catch (const std::exception& e) {
        return QString::fromUtf8(e.what());
    } catch (...) {
        return QStringLiteral("An unknown error occurred.");
    }
}

bool isCancellation(std::exception_ptr error)
{
    try {
        std::rethrow_exception(error);
    } catch (const CancelledError&) {
        return true;
    } catch (const TransportError& e) {
        return e.isCancellation();
    } catch (...) {
        return false;
    }
}

} // namespace Errors
