#include "app/demo.h"

#include "app/demowriter.h"
#include "config/directory.h"
#include "message/message.h"

#include <QDateTime>
#include <QFile>

#include <algorithm>
#include <map>

using namespace Qt::StringLiterals;

namespace {

/// Which group a message goes to, by a text in one of its fields; the first rule that fits counts.
struct Rule
{
    const char *field;
    const char *text;
    const char *group;
    GroupKind kind;
};
constexpr Rule kRules[] = {
    {"From", "barnacle-off.example", "Junk", GroupKind::Folder},
    {"From", "security-check.example", "Junk", GroupKind::Folder},
    {"From", "instant-diploma.example", "Junk", GroupKind::Folder},
    {"From", "royal-tides.example", "Junk", GroupKind::Folder},
    {"List-Id", "authors-list.", "Tidewater Press/authors-list", GroupKind::List},
    {"List-Id", "harbourletter.", "Newsletters", GroupKind::Folder},
    {"Subject", "Winter lay-up", "Home/Sailing club", GroupKind::Folder},
    {"Subject", "Second Wind", "Home/Sailing club", GroupKind::Folder},
    {"Subject", "Kittiwake", "Home/Sailing club", GroupKind::Folder},
    {"Subject", "Approval: pages", "Tidewater Press/Almanac 2026", GroupKind::Folder},
    {"Subject", "Printer needs", "Tidewater Press/Almanac 2026", GroupKind::Folder},
    {"Subject", "Page 112", "Tidewater Press/Proofs", GroupKind::Folder},
    {"Subject", "Commas before", "Tidewater Press/Proofs", GroupKind::Folder},
    {"Subject", "Invoice", "Home/Bills and tax", GroupKind::Folder},
};

/// The tags of the owner, and whose subjects have them.
struct TagRule
{
    const char *subject;
    const char *tag;
    int hue;
};
constexpr TagRule kTagRules[] = {
    {"Tide tables", "Almanac", 200}, {"Cover sketches", "Almanac", 200}, {"Harbour walk", "Club", 140},
    {"Winter lay-up", "Club", 140},  {"Invoice", "To pay", 28},
};
constexpr char kWatched[] = "Tide tables, second reading";

constexpr char kOwner[] = "clara@tidewater.example";

const Rule *ruleFor(const Message &message)
{
    for (const Rule &rule : kRules) {
        if (message.header(rule.field).contains(QLatin1String(rule.text)))
            return &rule;
    }
    return nullptr;
}

} // namespace

Demo::Demo(QObject *parent)
    : QObject(parent)
{}

bool Demo::prepare()
{
    if (!m_directory.isValid())
        return false;
    setConfigDirectory(m_directory.path() + u"/config"_s);
    QFile source(u":/demo.mbox"_s);
    QFile mailbox(m_directory.path() + u"/demo.mbox"_s);
    if (!source.open(QIODevice::ReadOnly) || !mailbox.open(QIODevice::WriteOnly) ||
        mailbox.write(source.readAll()) != source.size())
        return false;
    const qint64 shift =
        QDateTime({2026, 11, 20}, {12, 0}, Qt::UTC).toMSecsSinceEpoch() - clockMilliseconds();
    m_clock.emplace([shift] { return QDateTime::currentMSecsSinceEpoch() + shift; });
    return true;
}

void Demo::fill(Engine &engine)
{
    m_engine = &engine;
    fillDemoWriter(engine.identities());
    AccountData account;
    account.name = u"Tidewater Press"_s;
    account.host = m_directory.path() + u"/demo.mbox"_s;
    account.kind = AccountKind::BatchFile;
    const int number = engine.accounts().add(account);
    connect(&engine.accounts(), &AccountManager::fetchEnded, this, &Demo::sortMail, Qt::SingleShotConnection);
    engine.fetch(number);
}

/// What filters will do one day: the mail of six weeks in its groups.
void Demo::sortMail()
{
    GroupStore &store = m_engine->groups();
    Group &inbox = *store.group(GroupRole::Inbox);
    std::map<QString, Articles> moves;
    std::map<QString, GroupKind> kinds;
    Articles own;
    for (int row = 0; row < inbox.rowCount(); ++row) {
        const Overview overview = inbox.row(row);
        if (overview.isDead())
            continue;
        const Message message(inbox.readMessage(overview));
        if (message.header("From").contains(QLatin1String(kOwner)))
            own.push_back(overview.article());
        if (const Rule *rule = ruleFor(message)) {
            const QString group = QString::fromLatin1(rule->group);
            moves[group].push_back(overview.article());
            kinds[group] = rule->kind;
        }
    }
    store.copy(inbox, own, *store.group(GroupRole::SentMail));
    for (const auto &[name, articles] : moves)
        store.move(inbox, articles, *store.make(name, kinds[name]));
    for (Group *group : store.groups())
        tagMail(*group);
    emit ready();
}

void Demo::tagMail(Group &group)
{
    for (int row = 0; row < group.rowCount(); ++row) {
        const Overview overview = group.row(row);
        const QString subject = overview.isDead() ? QString() : group.texts(overview).subject;
        const auto rule = std::find_if(std::begin(kTagRules), std::end(kTagRules), [&](const TagRule &each) {
            return subject.contains(QLatin1StringView(each.subject));
        });
        if (rule != std::end(kTagRules))
            group.setTags({overview.article()}, 1u << tagBit(QString::fromLatin1(rule->tag), rule->hue), 0);
        if (subject == QLatin1StringView(kWatched))
            group.setMarks({overview.article()}, Mark::Watched, {});
    }
}

int Demo::tagBit(const QString &name, int hue)
{
    const Tag *tag = m_engine->tags().find(name);
    return tag ? tag->bit : m_engine->tags().add(name, hue);
}
