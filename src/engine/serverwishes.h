#pragma once

#include "net/accountmanager.h"
#include "net/pop3/popbodyrequest.h"
#include "store/groupstore.h"
#include "store/serverplace.h"

#include <QHash>
#include <QObject>

#include <optional>
#include <utility>
#include <vector>

class Clients;
class POPFetcher;

/// What the user wants of messages that lie on a server: the rest of one of which only the header is here, or
/// that one goes from there. Every wish is on the disk ("FetchIDs", "DeleteIDs") before anything else
/// happens; what cannot be done now is done at the account's next fetch.
class ServerWishes : public QObject
{
    Q_OBJECT

public:
    ServerWishes(GroupStore &store, AccountManager &accounts, Clients &clients, QObject *parent = nullptr);
    ~ServerWishes() override;

    /// Has the rest of the messages fetched, now where that can be; those that are whole are passed over.
    void fetchRest(const MessageRefs &messages);

    /// Has the messages deleted on their server, at the next fetch; they stay here. Those that have come from
    /// no server, or that are not known there any more, are told of by failed().
    void deleteOnServer(const MessageRefs &messages);

    /// Follows what deletionProposed() told of this account: those messages are deleted on the server at the
    /// next fetch.
    void acceptProposal(int account);

    /// Whether the rest of the message is wanted, now or at the next fetch.
    bool isRestWanted(MessageRef message) const;

    /// Messages whose rest is being fetched now.
    int underWay() const { return int(m_requests.size()); }

signals:
    /// For people, and no failure: "The message(s) will be retrieved on the account's next fetch".
    void told(const QString &text);

    /// "Message ... could not be retrieved", and why.
    void failed(const QString &text);

    /// The fetch of @p account, which has ended, found @p count messages above `PreviewDeleteSize` and
    /// brought their headers.
    void deletionProposed(int account, int count);

    /// How the fetch of a rest ended; the message as it was called when it was asked for.
    void restEnded(MessageRef message, bool ok);
    void changed(); ///< isRestWanted() of some message, or underWay()

private:
    struct Request
    {
        int account = 0;
        POPFetcherBodyRequest body;
        QString name;         ///< of the message, for people
        bool isTaken = false; ///< by a session
    };

    bool enter(Account &account, const std::vector<Request> &requests);
    bool fetchNow(Account &account);
    void handOver(Account &account, POPFetcher &session);
    void request(int account, POPFetcher &session);
    void ended(int account, const POPFetcherBodyRequest &body, const QString &failure);
    void sessionEnded(AccountFetchReason reason);
    void tryAgain(Account &account);
    void forgetFulfilled(int account);
    void propose(int account);
    bool drop(int account);
    void forgetRests(Group *group, const Articles &articles);
    void forgetRest(const ServerPlace &place, MessageRef message);
    QHash<quint64, QByteArray> namesByHash(const Account &account) const;
    void deleteAlong(Group *group, const Articles &articles);
    bool wishDeletion(int account, const QList<QByteArray> &identifiers);
    std::optional<ServerPlace> placeOf(MessageRef message) const;
    std::pair<int, QByteArray> onServer(MessageRef message);
    QString nameOf(MessageRef message) const;

    GroupStore &m_store;
    AccountManager &m_accounts;
    std::vector<Request> m_requests;                 ///< in the hands of a session, or on their way to one
    QHash<int, QList<QByteArray>> m_proposed;        ///< by account, until its next fetch ends
    QHash<int, QHash<quint64, QByteArray>> m_hashes; ///< while a deed looks up many messages
};
