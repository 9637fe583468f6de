#include "ContactService.h"

#include "jmap/JMAPDecoding.h"
#include "mail/MailService.h"

#include <QJsonArray>

const QStringList ContactService::cardProperties = {
    QStringLiteral("id"),     QStringLiteral("kind"),   QStringLiteral("name"),
    QStringLiteral("emails"), QStringLiteral("phones"), QStringLiteral("organizations"),
    QStringLiteral("notes")};

namespace {

const QString zero = QStringLiteral("0");

// The "list" of a /get response as objects; anything else reads as no records at all.
QJsonArray objectList(const QJsonObject& arguments)
{
    const QJsonValue list = arguments.value(QStringLiteral("list"));
    if (!list.isArray())
        return {};
    const QJsonArray array = list.toArray();
    for (const QJsonValue& element : array)
        if (!element.isObject())
            return {};
    return array;
}

} // namespace

QCoro::Task<QList<Contact>> ContactService::list()
{
    const QString accountId = co_await m_client->contactsAccountId();
    const QList<Invocation> calls{
        {QStringLiteral("ContactCard/get"),
         {{QStringLiteral("accountId"), accountId},
          {QStringLiteral("ids"), QJsonValue::Null},
          {QStringLiteral("properties"), QJsonArray::fromStringList(cardProperties)}},
         zero}};
    const QStringList capabilities{JMAPClient::contactsCapability};
    const QList<Invocation> responses = co_await m_client->call(calls, capabilities);

    QJsonArray individuals;
    for (const QJsonValue& card : objectList(arguments(responses, zero))) {
        // A card with no kind, or a kind we cannot read, is a person by default.
        const QJsonValue kind = card.toObject().value(QStringLiteral("kind"));
        if (!kind.isString() || kind.toString() == u"individual")
            individuals.append(card);
    }
    QList<Contact> contacts = JMAPDecoding::decodeList<Contact>(individuals);
    Contact::sortByDisplayName(contacts);
    co_return contacts;
}

QCoro::Task<QString> ContactService::defaultAddressBookId(QString accountId)
{
    const QList<Invocation> calls{
        {QStringLiteral("AddressBook/get"),
         {{QStringLiteral("accountId"), accountId}, {QStringLiteral("ids"), QJsonValue::Null}},
         QStringLiteral("books")}};
    const QStringList capabilities{JMAPClient::contactsCapability};
    const QList<Invocation> responses = co_await m_client->call(calls, capabilities);
    const QJsonArray books = objectList(arguments(responses, QStringLiteral("books")));
    if (books.isEmpty())
        throw JMAPError::malformed(QStringLiteral("no address book"));
    QJsonObject chosen = books.first().toObject();
    for (const QJsonValue& book : books) {
        if (book.toObject().value(QStringLiteral("isDefault")).toBool(false)) {
            chosen = book.toObject();
            break;
        }
    }
    const QJsonValue id = chosen.value(QStringLiteral("id"));
    if (!id.isString())
        throw JMAPError::malformed(QStringLiteral("no address book"));
    const QString bookId = id.toString();
    co_return bookId;
}

QCoro::Task<Contact> ContactService::create(ContactDetails details)
{
    const QString accountId = co_await m_client->contactsAccountId();
    const QString addressBookId = co_await defaultAddressBookId(accountId);
    const QJsonObject card = details.card(addressBookId);
    const QList<Invocation> calls{
        {QStringLiteral("ContactCard/set"),
         {{QStringLiteral("accountId"), accountId},
          {QStringLiteral("create"), QJsonObject{{QStringLiteral("new"), card}}}},
         zero}};
    const QStringList capabilities{JMAPClient::contactsCapability};
    const QList<Invocation> responses = co_await m_client->call(calls, capabilities);
    const QJsonObject result = arguments(responses, zero);
    MailService::throwSetError(result, QStringLiteral("notCreated"));
    const QJsonValue created = result.value(QStringLiteral("created"));
    const QJsonValue entry = created.toObject().value(QStringLiteral("new"));
    if (!created.isObject() || !entry.isObject())
        throw JMAPError::malformed(QStringLiteral("created contact"));
    // The server answers with what it decided (id and the like); the rest is what was sent.
    QJsonObject stored = card;
    const QJsonObject answer = entry.toObject();
    for (auto it = answer.begin(); it != answer.end(); ++it)
        stored.insert(it.key(), it.value());
    co_return JMAPDecoding::decode<Contact>(stored);
}

QCoro::Task<Contact> ContactService::update(Contact contact, ContactDetails details)
{
    const QJsonObject patch = details.patch(contact);
    if (patch.isEmpty())
        co_return contact;
    const QString accountId = co_await m_client->contactsAccountId();
    const QList<Invocation> calls{
        {QStringLiteral("ContactCard/set"),
         {{QStringLiteral("accountId"), accountId},
          {QStringLiteral("update"), QJsonObject{{contact.id, patch}}}},
         zero},
        {QStringLiteral("ContactCard/get"),
         {{QStringLiteral("accountId"), accountId},
          {QStringLiteral("ids"), QJsonArray{contact.id}},
          {QStringLiteral("properties"), QJsonArray::fromStringList(cardProperties)}},
         QStringLiteral("1")}};
    const QStringList capabilities{JMAPClient::contactsCapability};
    const QList<Invocation> responses = co_await m_client->call(calls, capabilities);
    MailService::throwSetError(arguments(responses, zero), QStringLiteral("notUpdated"));
    const QJsonValue list = arguments(responses, QStringLiteral("1")).value(QStringLiteral("list"));
    if (!list.isArray() || list.toArray().isEmpty())
        throw JMAPError::malformed(QStringLiteral("updated contact"));
    co_return JMAPDecoding::decode<Contact>(list.toArray().first());
}

QCoro::Task<> ContactService::deleteContacts(QStringList ids)
{
    if (ids.isEmpty())
        co_return;
    const QString accountId = co_await m_client->contactsAccountId();
    const QList<Invocation> calls{{QStringLiteral("ContactCard/set"),
                                   {{QStringLiteral("accountId"), accountId},
                                    {QStringLiteral("destroy"), QJsonArray::fromStringList(ids)}},
                                   zero}};
    const QStringList capabilities{JMAPClient::contactsCapability};
    const QList<Invocation> responses = co_await m_client->call(calls, capabilities);
    MailService::throwSetError(arguments(responses, zero), QStringLiteral("notDestroyed"));
}
