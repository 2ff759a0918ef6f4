#include "ui/main/messagecommands.h"

#include "engine/engine.h"
#include "engine/storetasks.h"
#include "message/message.h"
#include "message/safename.h"
#include "ui/list/messagelist.h"
#include "ui/look/askingbar.h"
#include "ui/main/dialogs.h"
#include "ui/main/messageboxes.h"
#include "ui/texts/messagetexts.h"

#include <QFileDialog>

#include <algorithm>
#include <map>
#include <unordered_set>

using namespace Qt::StringLiterals;

namespace {

constexpr std::size_t kAtOnce = 20; ///< messages that are moved or copied before the next picture

} // namespace

std::map<int, Articles> articlesByGroup(const MessageRefs &messages)
{
    std::map<int, Articles> byGroup;
    for (const MessageRef message : messages)
        byGroup[message.group].push_back(message.article);
    return byGroup;
}

MessageCommands::MessageCommands(Engine &engine, MessageList &list, MessageBoxes &boxes, AskingBar &bar)
    : m_engine(engine)
    , m_list(list)
    , m_boxes(boxes)
    , m_bar(bar)
{
    connect(&engine.groups(), &GroupStore::groupRemoved, this, [this](int number) {
        if (number == m_undo.source || number == m_undo.target)
            m_undo = {};
        emit undoChanged();
    });
}

GroupStore &MessageCommands::groups() const
{
    return m_engine.groups();
}

Group *MessageCommands::group() const
{
    return m_list.messages().group();
}

/// The selection in a list of one group.
Articles MessageCommands::selectedArticles() const
{
    Articles articles;
    for (const MessageRef message : m_list.selected())
        articles.push_back(message.article);
    return articles;
}

bool MessageCommands::allHave(const MessageRefs &messages, Mark mark) const
{
    return std::all_of(messages.begin(), messages.end(), [&](MessageRef message) {
        Group *group = groups().group(message.group);
        const std::optional<Overview> overview = group ? group->overview(message.article) : std::nullopt;
        return !overview || overview->has(mark);
    });
}

// --- Taking away ----------------------------------------------------------------------------------------

void MessageCommands::removeSelected(bool forGood)
{
    const Articles articles = selectedArticles();
    if (!group() || articles.empty())
        return;
    if (!forGood && groups().usesWasteBasket(*group()))
        return takeAway(articles, *groups().group(GroupRole::WasteBasket));
    const QString count = messagesInWords(qint64(articles.size()));
    const int number = group()->number();
    m_boxes.ask({u"Delete %1 for good?"_s.arg(count),
                 u"This cannot be undone."_s,
                 {u"Delete %1"_s.arg(count), u"Cancel"_s},
                 true,
                 ReportLevel::Warning},
                this, [this, articles, number](int button) {
                    if (button == 0 && group() && group()->number() == number)
                        removeForGood(articles);
                });
}

void MessageCommands::removeForGood(const Articles &articles)
{
    m_list.leaveSelection();
    if (articles.size() > kAtOnce)
        return m_engine.deleteMessages(*group(), articles, true);
    groups().deleteMessages(*group(), articles, true);
    m_list.messages().settle();
}

void MessageCommands::takeAway(const Articles &articles, Group &target)
{
    Group &source = *group();
    m_list.leaveSelection();
    moveTo(source, articles, target);
}

void MessageCommands::moveTo(Group &source, const Articles &articles, Group &target)
{
    if (&source == &target || articles.empty())
        return;
    if (articles.size() > kAtOnce)
        m_engine.moveMessages(source, articles, target);
    else if (groups().move(source, articles, target).empty())
        return; // after a report
    m_list.messages().settle();
    remember(source, target, articles);
    m_bar.ask(MessageBar::Kind::Good,
              u"%1 moved to %2"_s.arg(messagesInWords(qint64(articles.size())), target.name()),
              {u"Undo"_s, [this] { undo(); }});
}

void MessageCommands::copyTo(Group &source, const Articles &articles, Group &target)
{
    if (articles.empty())
        return;
    if (articles.size() > kAtOnce)
        m_engine.copyMessages(source, articles, target);
    else if (groups().copy(source, articles, target).empty() || !target.flush())
        return; // after a report
    m_bar.tell(MessageBar::Kind::Good,
               u"%1 copied to %2"_s.arg(messagesInWords(qint64(articles.size())), target.name()));
}

void MessageCommands::remember(const Group &source, const Group &target, const Articles &articles)
{
    m_undo = {source.number(), target.number(), articles};
    emit undoChanged();
}

/// The live messages of @p target that came from those of @p source; the newest for each.
Articles MessageCommands::arrivedFrom(Group &target, int source, const Articles &originals)
{
    std::unordered_set<quint32> wanted(originals.begin(), originals.end());
    Articles found;
    for (int row = target.rowCount() - 1; row >= 0 && !wanted.empty(); --row) {
        const Overview &overview = target.row(row);
        if (!overview.isDead() && int(overview.originGroup()) == source &&
            wanted.erase(overview.originArticle()))
            found.push_back(overview.article());
    }
    std::reverse(found.begin(), found.end());
    return found;
}

void MessageCommands::undo()
{
    const Undo undo = std::exchange(m_undo, {});
    m_bar.hide();
    emit undoChanged();
    Group *source = groups().group(undo.source);
    Group *target = groups().group(undo.target);
    if (!source || !target)
        return;
    const Articles back = arrivedFrom(*target, undo.source, undo.articles);
    if (back.empty())
        return;
    if (back.size() > kAtOnce)
        return m_engine.moveMessages(*target, back, *source);
    const Articles restored = groups().move(*target, back, *source);
    if (target->role() == GroupRole::Junk)
        source->setMarks(restored, {}, Mark::Junk);
    m_list.messages().settle();
    if (group() == source && !restored.empty())
        m_list.setCurrent({source->number(), restored.front()});
}

// --- Marks ----------------------------------------------------------------------------------------------

void MessageCommands::mark(const MessageRefs &messages, Mark mark, bool on)
{
    for (const auto &[number, articles] : articlesByGroup(messages)) {
        if (Group *group = groups().group(number))
            group->setMarks(articles, on ? Marks(mark) : Marks(), on ? Marks() : Marks(mark));
    }
}

void MessageCommands::markSelected(Mark mark, bool on)
{
    this->mark(m_list.selected(), mark, on);
}

/// Unread when all of them are read, as the name of the action says.
void MessageCommands::toggleRead()
{
    const MessageRefs messages = m_list.selected();
    mark(messages, Mark::Read, !allHave(messages, Mark::Read));
}

void MessageCommands::toggleFlag()
{
    const MessageRefs messages = m_list.selected();
    mark(messages, Mark::Flagged, !allHave(messages, Mark::Flagged));
}

void MessageCommands::markThreadRead()
{
    if (m_list.currentIndex().isValid())
        mark(m_list.messages().threadOf(m_list.currentIndex().row()), Mark::Read, true);
}

void MessageCommands::toggleThread(Mark mark, Mark other)
{
    if (!m_list.currentIndex().isValid())
        return;
    const int place = m_list.currentIndex().row();
    const bool on = !m_list.messages().overviewAt(place).has(mark);
    const MessageRefs thread = m_list.messages().threadOf(place);
    this->mark(thread, mark, on);
    this->mark(thread, on ? other : mark, false);
}

void MessageCommands::markGroupRead(Group &group)
{
    Articles unread;
    for (int row = 0; row < group.rowCount(); ++row) {
        const Overview &overview = group.row(row);
        if (!overview.isDead() && !overview.has(Mark::Read))
            unread.push_back(overview.article());
    }
    m_engine.tasks().add(std::make_unique<MarkTask>(group, std::move(unread), Mark::Read, Marks()));
}

void MessageCommands::junkSelected(bool junk)
{
    const Articles articles = selectedArticles();
    if (!group() || articles.empty())
        return;
    Group &place = *groups().group(GroupRole::Junk);
    mark(m_list.selected(), Mark::Junk, junk);
    if (junk && group() != &place)
        return takeAway(articles, place);
    if (!junk && group() == &place)
        moveBack(place, articles);
}

/// What is no junk goes back to the group it was in, to the inbox when that is not there any more.
void MessageCommands::moveBack(Group &junk, const Articles &articles)
{
    std::map<int, Articles> byGroup;
    for (const quint32 article : articles) {
        const std::optional<Overview> overview = junk.overview(article);
        const Group *origin = overview ? groups().group(int(overview->originGroup())) : nullptr;
        byGroup[origin && origin != &junk ? origin->number() : groups().group(GroupRole::Inbox)->number()]
            .push_back(article);
    }
    m_list.leaveSelection();
    for (const auto &[number, some] : byGroup)
        moveTo(junk, some, *groups().group(number));
}

// --- Elsewhere ------------------------------------------------------------------------------------------

void MessageCommands::pick(const QString &verb, const QString &title, std::function<void(Group &)> then)
{
    if (!group() || m_list.selectedCount() == 0)
        return;
    const int source = group()->number();
    askGroup(m_list.window(), groups(), {title, verb, source},
             [this, source, then = std::move(then)](int number) {
                 Group *target = groups().group(number);
                 if (target && group() && group()->number() == source)
                     then(*target);
             });
}

void MessageCommands::moveSelected()
{
    const Articles articles = selectedArticles();
    pick(u"Move"_s, u"Move %1 to"_s.arg(messagesInWords(qint64(articles.size()))),
         [this, articles](Group &target) { takeAway(articles, target); });
}

void MessageCommands::copySelected()
{
    const Articles articles = selectedArticles();
    pick(u"Copy"_s, u"Copy %1 to"_s.arg(messagesInWords(qint64(articles.size()))),
         [this, articles](Group &target) { copyTo(*group(), articles, target); });
}

void MessageCommands::saveCurrent()
{
    Group *home = groups().group(m_list.current().group);
    const std::optional<Overview> overview = home ? home->overview(m_list.current().article) : std::nullopt;
    if (!overview)
        return;
    const QByteArray text = home->readMessage(*overview);
    if (text.isNull())
        return;
    const Message message(text);
    auto *files = new QFileDialog(m_list.window(), u"Save message as"_s);
    files->setAttribute(Qt::WA_DeleteOnClose);
    files->setAcceptMode(QFileDialog::AcceptSave);
    files->setNameFilters({u"Message (*.eml)"_s, u"Readable text (*.txt)"_s});
    files->selectFile(safeFileName(subjectOrNone(message.subject())) + u".eml"_s);
    connect(files, &QFileDialog::fileSelected, this, [files, message](const QString &path) {
        const bool readable = files->selectedNameFilter().contains(u"*.txt"_s);
        if (!message.saveAsText(path, readable ? SavedText::Readable : SavedText::Raw, LineEnds::Lf))
            report(ReportLevel::Warning, "Unable to write file '%s'", qUtf8Printable(path));
    });
    files->open();
}
