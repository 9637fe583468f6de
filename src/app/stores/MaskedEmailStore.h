#pragma once

#include "app/stores/DirectoryStore.h"
#include "directory/MaskedEmail.h"
#include "directory/MaskedEmailDetails.h"
#include "directory/MaskedEmailService.h"

#include <QCoroTask>
#include <QList>
#include <QObject>
#include <QSet>
#include <QString>

#include <optional>

// What the Masked Email window shows: the account's masked addresses, or demo data when there
// is no service. The list changes only after the server agreed.
class MaskedEmailStore : public DirectoryStoreOf<MaskedEmail, MaskedEmailService>
{
    Q_OBJECT
    Q_PROPERTY(QList<MaskedEmail> items READ items NOTIFY itemsChanged)

public:
    explicit MaskedEmailStore(QObject* parent = nullptr);

    // Fills the list without a server, as demo mode does; the list is put newest first.
    void setItems(QList<MaskedEmail> items);

    // The new address, first in the list and on the clipboard; absent on failure.
    QCoro::Task<std::optional<MaskedEmail>> create(MaskedEmailDetails details, QString prefix);
    // True when saved; the record is updated locally, not read again.
    QCoro::Task<bool> update(MaskedEmail record, MaskedEmailDetails details);
    // `deleted` removes the rows; other states change them in place.
    QCoro::Task<> setState(MaskedEmail::State state, QSet<QString> ids);

    // A made-up enabled address "<prefix or masked>.<1000-9999>@example.com", created now.
    static MaskedEmail demoAddress(const MaskedEmailDetails& details, const QString& prefix);
};
