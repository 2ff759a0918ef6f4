#pragma once

#include "engine/arrivalbatch.h"
#include "net/mailreceiver.h"

/// The receiver of one session of an account: its mail goes into the account's group, or into the inbox where
/// that is gone. A message that waits for its body is looked for where it was, then anywhere. When it is gone
/// the whole is a new message, because it may be deleted on the server next; when the whole is here already,
/// from a session that was interrupted, it is dropped.
class AccountReceiver : public MailReceiver
{
public:
    AccountReceiver(Delivery &delivery, const AccountData &account);
    ~AccountReceiver() override;

    std::optional<QList<QByteArray>> recover() override;
    [[nodiscard]] bool store(const ReceivedMessage &message) override;
    [[nodiscard]] bool complete(const WaitingMessage &place, const ReceivedMessage &message) override;
    [[nodiscard]] bool flush() override;
    void remembered() override;

private:
    /// Completed at the flush: until then the message may go elsewhere.
    struct Completion
    {
        WaitingMessage place;
        QByteArray identifier;
        Message text;
    };

    bool completeWhatWaits();
    bool storeAsNew(const std::vector<Completion> &completions);
    MessageRef find(const Completion &completion) const;
    MessageRef findEverywhere(const QByteArray &identifier) const;
    bool waits(MessageRef place, const QByteArray &identifier) const;
    bool isHere(const Completion &completion) const;
    bool isHereWithoutId(quint64 hash) const;
    bool isWhole(const Overview &overview, quint64 hash) const;

    const QPointer<Delivery> m_delivery;
    const int m_account;
    ArrivalBatch m_batch;
    std::vector<Completion> m_completions;
    bool m_hasArrived = false; ///< recover() gave what nobody had remembered
};
