#pragma once

#include "net/fetcher.h"
#include "net/mailreceiver.h"
#include "net/pop3/popbodyrequest.h"

#include <memory>

/// What a POPFetcher is for.
enum class PopTask {
    Fetch,     ///< log in, list, fetch what is new, delete what is due, quit
    Bodies,    ///< stay connected and serve requests for single messages
    LoginTest, ///< log in, count, quit; nothing is fetched, stored, remembered or deleted
};

/// The POP3 client of an account (RFC 1939, 2449, 2595).
class POPFetcher : public Fetcher
{
    Q_OBJECT

public:
    /// @p receiver takes over what arrives; null for a login test only.
    POPFetcher(Account &account, PopTask task, std::unique_ptr<MailReceiver> receiver,
               QObject *parent = nullptr);
    ~POPFetcher() override;

    bool start() override;

    /// True between two requests of PopTask::Bodies. After 60 s of it the session winds up, because it holds
    /// the mailbox's lock.
    bool isIdle() const override;

    /// Starts nothing new, stores what has arrived whole, says QUIT where no reply is outstanding and else
    /// closes the connection; reason 1. The end may be told before this returns.
    void stop() override;

    /// Adds a request; PopTask::Bodies only. False: this session takes none any more.
    bool request(const POPFetcherBodyRequest &request);

    /// Messages in the mailbox; -1 before the server told.
    int messageCount() const;

    /// Whether the session ended because the server refused the name or the password.
    bool isLoginRefused() const;

signals:
    /// One of both for every request that request() took.
    void bodyFetched(const POPFetcherBodyRequest &request);
    void bodyFailed(const POPFetcherBodyRequest &request, const QString &reason);

    /// The message named @p identifier is larger than `PreviewDeleteSize`, of it only the header was stored,
    /// and the user may want it deleted on the server (IdentifierList).
    void deletionProposed(const QByteArray &identifier, qint64 size);
};
