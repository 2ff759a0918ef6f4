#include "engine/serverwishes.h"

#include "config/reporter.h"
#include "engine/clients.h"
#include "net/identifierlist.h"
#include "net/pop3/popfetcher.h"
#include "net/pop3/popmemory.h"

#include <QPointer>

#include <algorithm>
#include <map>

using namespace Qt::StringLiterals;

ServerWishes::ServerWishes(GroupStore &store, AccountManager &accounts, Clients &clients, QObject *parent)
    : QObject(parent)
    , m_store(store)
    , m_accounts(accounts)
{
    clients.setSessionMade([this](Account &account, POPFetcher &session) { handOver(account, session); });
    clients.setDeletionProposed(
        [this](int account, const QByteArray &identifier) { m_proposed[account].append(identifier); });
    connect(&accounts, &AccountManager::fetchStarted, this,
            [this](Account *account) { m_proposed.remove(account->number()); });
    connect(&accounts, &AccountManager::fetchEnded, this, [this](Account *account) {
        tryAgain(*account);
        propose(account->number());
    });
    connect(&accounts, &AccountManager::accountDeleted, this, [this](Account *account) {
        m_proposed.remove(account->number());
        drop(account->number());
    });
    connect(&store, &GroupStore::messagesDeleting, this, &ServerWishes::forgetRests);
    connect(&store, &GroupStore::messagesDeleting, this, &ServerWishes::deleteAlong);
}

ServerWishes::~ServerWishes() = default;

void ServerWishes::fetchRest(const MessageRefs &messages)
{
    std::map<int, std::vector<Request>> wanted;
    for (const MessageRef &message : messages) {
        const std::optional<ServerPlace> place = placeOf(message);
        const Account *account = place ? m_accounts.account(place->account) : nullptr;
        if (account && account->kind() == AccountKind::Pop3)
            wanted[place->account].push_back(
                {place->account, {place->identifier, {message.group, message.article}}, nameOf(message)});
        else if (place)
            emit failed(tr("Message %1 could not be retrieved").arg(nameOf(message)));
    }
    bool isLater = false;
    for (const auto &[number, requests] : wanted)
        isLater = !enter(*m_accounts.account(number), requests) || isLater;
    if (isLater)
        emit told(tr("The message(s) will be retrieved on the account's next fetch"));
    emit changed();
}

/// The wishes go to the disk, then to a session. False: they have to wait for the next fetch.
bool ServerWishes::enter(Account &account, const std::vector<Request> &requests)
{
    QList<IdentifierList::Entry> entries;
    for (const Request &request : requests)
        entries.append({request.body.identifier, request.body.place});
    if (!IdentifierList(account.number(), IdentifierList::Purpose::Fetch).add(entries))
        return true; // told already
    for (const Request &request : requests) {
        const auto isSame = [&](const Request &other) {
            return other.account == request.account && other.body.identifier == request.body.identifier;
        };
        if (std::none_of(m_requests.begin(), m_requests.end(), isSame))
            m_requests.push_back(request);
    }
    return fetchNow(account);
}

/// Whether what is wanted of @p account is under way, or will be when the fetch that runs has ended.
bool ServerWishes::fetchNow(Account &account)
{
    if (auto *session = qobject_cast<POPFetcher *>(account.session())) {
        request(account.number(), *session);
        return true;
    }
    if (account.openSession(true) || account.isFetching())
        return true;
    drop(account.number());
    return false;
}

void ServerWishes::handOver(Account &account, POPFetcher &session)
{
    const int number = account.number();
    connect(&session, &POPFetcher::bodyFetched, this,
            [this, number](const POPFetcherBodyRequest &body) { ended(number, body, QString()); });
    // A session that dies fails all it has: those wishes stay, and its end is told of in its own way.
    connect(
        &session, &POPFetcher::bodyFailed, this,
        [this, number, guard = QPointer(&session)](const POPFetcherBodyRequest &body, const QString &why) {
            if (guard && !guard->hasEnded())
                ended(number, body, why);
        },
        Qt::QueuedConnection);
    connect(&account, &Account::sessionEnded, this, &ServerWishes::sessionEnded, Qt::UniqueConnection);
    request(number, session);
}

/// What the session does not take any more waits for its end.
void ServerWishes::request(int account, POPFetcher &session)
{
    for (Request &request : m_requests) {
        if (request.account == account && !request.isTaken)
            request.isTaken = session.request(request.body);
    }
}

/// The wish is fulfilled, or can never be: @p failure says why, and is null else.
void ServerWishes::ended(int account, const POPFetcherBodyRequest &body, const QString &failure)
{
    const auto found = std::find_if(m_requests.begin(), m_requests.end(), [&](const Request &request) {
        return request.account == account && request.body.identifier == body.identifier;
    });
    if (found == m_requests.end())
        return;
    const Request request = *found;
    m_requests.erase(found);
    // Where that cannot be written, the next fetch finds it done.
    if (!IdentifierList(account, IdentifierList::Purpose::Fetch).remove({body.identifier}))
        note(u"A message that was fetched is still wanted by account %1"_s.arg(account));
    if (!failure.isNull())
        emit failed(tr("Message %1 could not be retrieved").arg(request.name) + u": "_s + failure);
    emit restEnded({body.place.group, body.place.article}, failure.isNull());
    emit changed();
}

/// A session that wound up while it was given something: there is another one.
void ServerWishes::sessionEnded(AccountFetchReason reason)
{
    auto *account = qobject_cast<Account *>(sender());
    if (!account)
        return;
    if (reason == AccountFetchReason::None || reason == AccountFetchReason::Quiet)
        return tryAgain(*account);
    if (drop(account->number()))
        emit told(tr("The message(s) will be retrieved on the account's next fetch"));
}

void ServerWishes::tryAgain(Account &account)
{
    const int number = account.number();
    const auto isOfIt = [number](const Request &request) { return request.account == number; };
    if (std::none_of(m_requests.begin(), m_requests.end(), isOfIt))
        return;
    forgetFulfilled(number);
    for (Request &request : m_requests)
        request.isTaken = request.isTaken && !isOfIt(request);
    const bool isLeft = std::any_of(m_requests.begin(), m_requests.end(), isOfIt);
    if (isLeft && !fetchNow(account))
        emit told(tr("The message(s) will be retrieved on the account's next fetch"));
    emit changed();
}

/// A fetch has brought some of what is waited for.
void ServerWishes::forgetFulfilled(int account)
{
    const IdentifierList list(account, IdentifierList::Purpose::Fetch);
    MessageRefs fulfilled;
    std::erase_if(m_requests, [&](const Request &request) {
        const bool isGone = request.account == account && !list.contains(request.body.identifier);
        if (isGone)
            fulfilled.push_back({request.body.place.group, request.body.place.article});
        return isGone;
    });
    for (const MessageRef &message : fulfilled)
        emit restEnded(message, true);
}

/// No more is waited for; the wishes stay on the disk. Whether there were any.
bool ServerWishes::drop(int account)
{
    const auto dropped =
        std::erase_if(m_requests, [account](const Request &request) { return request.account == account; });
    if (dropped > 0)
        emit changed();
    return dropped > 0;
}

/// What the user deletes for good is not fetched any more.
void ServerWishes::forgetRests(Group *group, const Articles &articles)
{
    QHash<int, bool> hasWishes;
    for (const quint32 article : articles) {
        const std::optional<Overview> overview = group->overview(article);
        if (!overview || !overview->has(Mark::HeaderOnly))
            continue;
        const int number = overview->account();
        if (!hasWishes.contains(number))
            hasWishes.insert(number, !IdentifierList(number, IdentifierList::Purpose::Fetch).isEmpty());
        const MessageRef message{group->number(), article};
        const std::optional<ServerPlace> place = hasWishes[number] ? placeOf(message) : std::nullopt;
        if (place)
            forgetRest(*place, message);
    }
}

/// Unless it is another copy of the message that waits.
void ServerWishes::forgetRest(const ServerPlace &place, MessageRef message)
{
    IdentifierList list(place.account, IdentifierList::Purpose::Fetch);
    if (!list.contains(place.identifier))
        return;
    const WaitingMessage waiting = list.find(place.identifier).place;
    const MessageRef other{waiting.group, waiting.article};
    if (other != message && placeOf(other) == place)
        return;
    if (!list.remove({place.identifier}))
        return; // told
    const Account *account = m_accounts.account(place.account);
    if (auto *session = account ? qobject_cast<POPFetcher *>(account->session()) : nullptr)
        session->forget(place.identifier);
    std::erase_if(m_requests, [&](const Request &request) {
        return request.account == place.account && request.body.identifier == place.identifier;
    });
    emit restEnded(message, false);
    emit changed();
}

bool ServerWishes::isRestWanted(MessageRef message) const
{
    const std::optional<ServerPlace> place = placeOf(message);
    return place &&
           IdentifierList(place->account, IdentifierList::Purpose::Fetch).contains(place->identifier);
}

void ServerWishes::deleteOnServer(const MessageRefs &messages)
{
    std::map<int, QList<QByteArray>> known;
    for (const MessageRef &message : messages) {
        const auto [account, identifier] = onServer(message);
        if (identifier.isEmpty())
            emit failed(tr("Message %1 is not known on any server").arg(nameOf(message)));
        else
            known[account].append(identifier);
    }
    m_hashes.clear();
    bool isWritten = false;
    for (const auto &[account, identifiers] : known)
        isWritten = wishDeletion(account, identifiers) || isWritten;
    if (isWritten)
        emit told(tr("The message(s) will be deleted on the server on the account's next fetch"));
    emit changed();
}

/// A message that goes for good goes from its server, too, where its account wants that.
void ServerWishes::deleteAlong(Group *group, const Articles &articles)
{
    std::map<int, QList<QByteArray>> known;
    int unknown = 0;
    for (const quint32 article : articles) {
        const std::optional<Overview> overview = group->overview(article);
        const Account *account = overview ? m_accounts.account(overview->account()) : nullptr;
        if (!account || !account->data().has(AccountDeletesAlong) || account->kind() != AccountKind::Pop3)
            continue;
        const auto [number, identifier] = onServer({group->number(), article});
        if (identifier.isEmpty())
            ++unknown;
        else
            known[number].append(identifier);
    }
    m_hashes.clear();
    for (const auto &[account, identifiers] : known)
        wishDeletion(account, identifiers);
    if (unknown > 0)
        note(u"%1 messages were deleted here that are not, or no longer, known on their server"_s.arg(
            unknown));
}

bool ServerWishes::wishDeletion(int account, const QList<QByteArray> &identifiers)
{
    QList<IdentifierList::Entry> entries;
    for (const QByteArray &identifier : identifiers)
        entries.append({identifier, {}});
    return IdentifierList(account, IdentifierList::Purpose::Delete).add(entries);
}

void ServerWishes::propose(int account)
{
    if (const auto count = m_proposed.value(account).size(); count > 0)
        emit deletionProposed(account, int(count));
}

void ServerWishes::acceptProposal(int account)
{
    const QList<QByteArray> identifiers = m_proposed.take(account);
    if (!identifiers.isEmpty())
        wishDeletion(account, identifiers);
}

std::optional<ServerPlace> ServerWishes::placeOf(MessageRef message) const
{
    Group *group = m_store.group(message.group);
    const std::optional<Overview> overview = group ? group->overview(message.article) : std::nullopt;
    if (!overview || !overview->has(Mark::HeaderOnly))
        return {};
    return serverPlaceOf(group->readMessage(*overview));
}

/// The account of @p message and the name that its server has for it; an empty name when nobody knows one.
/// What is read for it stays in m_hashes.
std::pair<int, QByteArray> ServerWishes::onServer(MessageRef message)
{
    Group *group = m_store.group(message.group);
    const std::optional<Overview> overview = group ? group->overview(message.article) : std::nullopt;
    if (!overview)
        return {};
    if (overview->has(Mark::HeaderOnly)) {
        const std::optional<ServerPlace> place = placeOf(message);
        return place && m_accounts.account(place->account) ? std::pair(place->account, place->identifier)
                                                           : std::pair(0, QByteArray());
    }
    const int number = overview->account();
    const Account *account = m_accounts.account(number);
    if (overview->serverHash() == 0 || !account)
        return {};
    auto known = m_hashes.find(number);
    if (known == m_hashes.end())
        known = m_hashes.insert(number, namesByHash(*account));
    return {number, known->value(overview->serverHash())};
}

/// The names by which the messages on the account's server are known here, by their hash.
QHash<quint64, QByteArray> ServerWishes::namesByHash(const Account &account) const
{
    const AccountData &data = account.data();
    PopMemory memory(data.number, data.user, data.host);
    QHash<quint64, QByteArray> names;
    for (const QByteArray &name : memory.readStoreNames())
        names.insert(identifierHash(name), name);
    return names;
}

QString ServerWishes::nameOf(MessageRef message) const
{
    Group *group = m_store.group(message.group);
    const std::optional<Overview> overview = group ? group->overview(message.article) : std::nullopt;
    const HeaderTexts texts = overview ? group->texts(*overview) : HeaderTexts();
    return texts.subject.isEmpty() ? texts.messageId : u'"' + texts.subject + u'"';
}
