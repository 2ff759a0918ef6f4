#pragma once

#include "engine/arrivaljournal.h"
#include "engine/delivery.h"
#include "net/accountdata.h"

#include <QPointer>

#include <vector>

/// Messages of one account on their way into its group: announced in the account's journal, stored, and made
/// safe together. store() any number of times, flush(), then who calls writes down what it has taken, then
/// done().
class ArrivalBatch
{
public:
    ArrivalBatch(Delivery &delivery, const AccountData &account);
    ~ArrivalBatch();
    ArrivalBatch(const ArrivalBatch &) = delete;
    ArrivalBatch &operator=(const ArrivalBatch &) = delete;

    /// Stores @p message, which the source calls @p identifier (one word). False after a report: nothing may
    /// follow.
    [[nodiscard]] bool store(const QByteArray &identifier, const Message &message, Arrival arrival);

    /// @p text of a message of which only the header is here; the store puts its place on the server in
    /// front.
    [[nodiscard]] bool storeHeader(const QByteArray &identifier, QByteArrayView header, qint64 serverSize);

    /// Makes everything safe: the journal first, then the group. What is safe is handed on to the hooks.
    [[nodiscard]] bool flush();

    /// After what arrived is remembered elsewhere, on the disk: the journal is emptied.
    void done();

    bool isOpen() const { return m_isOpen; }             ///< begun and not done
    int waiting() const { return int(m_stored.size()); } ///< stored and not flushed

private:
    bool begin();
    bool put(const QByteArray &identifier, const Message &message, Message shown, const Arrival &arrival);

    const QPointer<Delivery> m_delivery; ///< whoever is later than it stores nothing
    const int m_account;
    const int m_groupNumber;
    ArrivalJournal m_journal;
    QPointer<Group> m_group;
    std::vector<DeliveredMessage> m_stored;
    bool m_isOpen = false;
};
