#include "ui/main/messagecommands.h"

#include "config/clock.h"
#include "engine/engine.h"
#include "message/message.h"
#include "message/safename.h"
#include "ui/list/messagelist.h"
#include "ui/look/askingbar.h"
#include "ui/look/messageboxes.h"
#include "ui/main/dialogs.h"
#include "ui/texts/messagetexts.h"

#include <QFileDialog>
#include <QItemSelection>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr std::size_t kMostSelected = 2000; ///< messages that are selected again when they are back
constexpr quint32 kAllTags = 0xffffffff;

/// Before which day "mark older as read" marks.
struct AgeRow
{
    const char *text;
    int days;
};
constexpr AgeRow kAges[] = {
    {QT_TRANSLATE_NOOP("MessageCommands", "Older than a day"), 1},
    {QT_TRANSLATE_NOOP("MessageCommands", "Older than a week"), 7},
    {QT_TRANSLATE_NOOP("MessageCommands", "Older than a month"), 30},
    {QT_TRANSLATE_NOOP("MessageCommands", "Older than a year"), 365},
};
constexpr qint64 kSecondsOfADay = 24 * 60 * 60;

} // namespace

MessageCommands::MessageCommands(Engine &engine, MessageList &list, MessageBoxes &boxes, AskingBar &bar)
    : m_engine(engine)
    , m_operations(engine.operations())
    , m_list(list)
    , m_boxes(boxes)
    , m_bar(bar)
{
    connect(&m_operations, &MessageOperations::done, this, &MessageCommands::tell);
    connect(&engine.journal(), &UndoJournal::changed, this, &MessageCommands::undoChanged);
}

GroupStore &MessageCommands::groups() const
{
    return m_engine.groups();
}

bool MessageCommands::allHave(const MessageRefs &messages,
                              const std::function<bool(const Overview &)> &has) const
{
    return std::all_of(messages.begin(), messages.end(), [&](MessageRef message) {
        Group *group = groups().group(message.group);
        const std::optional<Overview> overview = group ? group->overview(message.article) : std::nullopt;
        return !overview || has(*overview);
    });
}

// --- Taking away ----------------------------------------------------------------------------------------

/// Does what makes the messages leave the list, once what follows them is current.
void MessageCommands::takeAway(const MessageRefs &messages, const std::function<void()> &deed)
{
    if (m_list.selected() == messages)
        m_list.leaveSelection();
    deed();
}

void MessageCommands::removeSelected(bool forGood)
{
    const MessageRefs messages = m_list.selected();
    if (messages.empty())
        return;
    const auto remove = [this, messages, forGood] {
        takeAway(messages, [&] {
            if (forGood)
                m_operations.removeForGood(messages);
            else
                m_operations.remove(messages);
        });
    };
    const MessageRefs lost = forGood ? messages : m_operations.lostByRemoving(messages);
    if (lost.empty())
        remove();
    else
        askBeforeLosing(lost, remove);
}

void MessageCommands::askBeforeLosing(const MessageRefs &lost, std::function<void()> then)
{
    const QString count = messagesInWords(qint64(lost.size()));
    m_boxes.ask({tr("Delete %1 for good?").arg(count),
                 tr("This cannot be undone."),
                 {tr("Delete %1").arg(count), tr("Cancel")},
                 true,
                 ReportLevel::Warning},
                this, [then = std::move(then)](int button) {
                    if (button == 0)
                        then();
                });
}

void MessageCommands::archiveSelected()
{
    const MessageRefs messages = m_list.selected();
    const Group *shown = m_list.messages().group();
    if (messages.empty() || (shown && shown->role() == GroupRole::Archive))
        return;
    takeAway(messages, [&] { m_operations.archive(messages); });
}

void MessageCommands::junkSelected(bool junk)
{
    const MessageRefs messages = m_list.selected();
    if (messages.empty())
        return;
    const Group *shown = m_list.messages().group();
    const bool isThere = shown && shown->role() == GroupRole::Junk;
    if (junk == isThere) // they stay
        return m_operations.junk(messages, junk);
    takeAway(messages, [&] { m_operations.junk(messages, junk); });
}

// --- Elsewhere ------------------------------------------------------------------------------------------

void MessageCommands::moveTo(const MessageRefs &messages, Group &target)
{
    const bool any = std::any_of(messages.begin(), messages.end(),
                                 [&](MessageRef message) { return message.group != target.number(); });
    if (!any)
        return;
    m_lastTarget = target.number();
    m_recent.note(m_lastTarget);
    takeAway(messages, [&] { m_operations.move(messages, target); });
    emit undoChanged();
}

void MessageCommands::copyTo(const MessageRefs &messages, Group &target)
{
    if (messages.empty())
        return;
    m_recent.note(target.number());
    m_operations.copy(messages, target);
}

void MessageCommands::pick(const QString &verb, const QString &title, std::function<void(Group &)> then)
{
    const Group *shown = m_list.messages().group();
    GroupRequest request = {title, verb, shown ? shown->number() : 0};
    request.recent = m_recent.numbers();
    request.offers = takesMessages;
    askGroup(m_list.window(), groups(), request, [this, then = std::move(then)](int number) {
        if (Group *target = groups().group(number))
            then(*target);
    });
}

void MessageCommands::moveSelected()
{
    const MessageRefs messages = m_list.selected();
    if (!messages.empty())
        pick(tr("Move"), tr("Move %1 to").arg(messagesInWords(qint64(messages.size()))),
             [this, messages](Group &target) { moveTo(messages, target); });
}

void MessageCommands::copySelected()
{
    const MessageRefs messages = m_list.selected();
    if (!messages.empty())
        pick(tr("Copy"), tr("Copy %1 to").arg(messagesInWords(qint64(messages.size()))),
             [this, messages](Group &target) { copyTo(messages, target); });
}

void MessageCommands::moveSelectedAgain()
{
    if (Group *target = lastTarget())
        moveTo(m_list.selected(), *target);
}

Group *MessageCommands::lastTarget() const
{
    return m_lastTarget != 0 ? groups().group(m_lastTarget) : nullptr;
}

QString MessageCommands::lastTargetName() const
{
    const Group *target = lastTarget();
    return target ? target->name() : QString();
}

// --- Marks ----------------------------------------------------------------------------------------------

void MessageCommands::mark(const MessageRefs &messages, Mark mark, bool on)
{
    if (!messages.empty())
        m_operations.mark(messages, on ? Marks(mark) : Marks(), on ? Marks() : Marks(mark));
}

void MessageCommands::markSelected(Mark mark, bool on)
{
    this->mark(m_list.selected(), mark, on);
}

/// Unread when all of them are read, as the name of the action says.
void MessageCommands::toggleRead()
{
    const MessageRefs messages = m_list.selected();
    const auto isRead = [](const Overview &overview) { return overview.has(Mark::Read); };
    mark(messages, Mark::Read, !allHave(messages, isRead));
}

void MessageCommands::toggleFlag()
{
    const MessageRefs messages = m_list.selected();
    const auto isFlagged = [](const Overview &overview) { return overview.has(Mark::Flagged); };
    mark(messages, Mark::Flagged, !allHave(messages, isFlagged));
}

void MessageCommands::markThreadRead()
{
    if (const int place = currentPlace(); place >= 0)
        mark(m_list.messages().threadOf(place), Mark::Read, true);
}

void MessageCommands::toggleThread(Mark mark, Mark other)
{
    if (const int place = currentPlace(); place >= 0)
        toggle(m_list.messages().threadOf(place), mark, other);
}

void MessageCommands::toggleIgnoreSubthread()
{
    if (const int place = currentPlace(); place >= 0)
        toggle(subthread(place), Mark::Ignored, Mark::Watched);
}

/// Sets @p mark in all of them when the current message lacks it, else clears it.
void MessageCommands::toggle(const MessageRefs &messages, Mark mark, Mark other)
{
    const bool on = !m_list.messages().overviewAt(currentPlace()).has(mark);
    m_operations.mark(messages, on ? mark : Marks(), on ? other : mark);
}

/// -1 when no message is current.
int MessageCommands::currentPlace() const
{
    return m_list.current().isNull() ? -1 : m_list.messages().placeOf(m_list.current());
}

/// The message at @p first with the answers below it.
MessageRefs MessageCommands::subthread(int first) const
{
    const MessageListModel &model = m_list.messages();
    std::vector<int> places = {first};
    for (int place = first + 1;
         place < model.rowCount() && !model.isHeading(place) && model.depthAt(place) > model.depthAt(first);
         ++place)
        places.push_back(place);
    return model.refsAt(places);
}

void MessageCommands::markGroupRead(Group &group)
{
    m_operations.markGroupRead(group);
}

void MessageCommands::markOlderRead()
{
    Group *group = m_list.messages().group();
    if (!group)
        return;
    const std::optional<Overview> current = group->overview(m_list.current().article);
    QStringList choices;
    if (current)
        choices += tr("Older than the current message");
    for (const AgeRow &age : kAges)
        choices += tr(age.text);
    askChoice(m_list.window(), tr("Mark as read in %1").arg(group->name()), tr("Mark as read"), choices,
              [this, number = group->number(), current](int choice) {
                  Group *group = groups().group(number);
                  const int age = choice - (current ? 1 : 0);
                  if (group && age < int(std::size(kAges)))
                      m_operations.markReadBefore(*group, age < 0 ? current->date()
                                                                  : clockSeconds() -
                                                                        kAges[age].days * kSecondsOfADay);
              });
}

void MessageCommands::noteRead(MessageRef message)
{
    if (Group *group = groups().group(message.group))
        group->setMarks({message.article}, Mark::Read, {});
}

// --- Tags -----------------------------------------------------------------------------------------------

void MessageCommands::tagSelected(int key)
{
    const MessageRefs messages = m_list.selected();
    if (key == 0 && !messages.empty())
        m_operations.setTags(messages, 0, kAllTags);
    else if (const quint32 bit = m_engine.tags().bitOfKey(key))
        toggleTag(bit);
}

void MessageCommands::toggleTag(quint32 bit)
{
    const MessageRefs messages = m_list.selected();
    if (messages.empty())
        return;
    const auto hasIt = [bit](const Overview &overview) { return (overview.tags() & bit) != 0; };
    const bool on = !allHave(messages, hasIt);
    m_operations.setTags(messages, on ? bit : 0, on ? 0 : bit);
}

bool MessageCommands::selectedHaveTag(int key) const
{
    const quint32 bit = m_engine.tags().bitOfKey(key);
    const MessageRefs messages = m_list.selected();
    return bit != 0 && !messages.empty() &&
           allHave(messages, [bit](const Overview &overview) { return (overview.tags() & bit) != 0; });
}

// --- Saying what was done -------------------------------------------------------------------------------

/// Says it where the list alone does not show it: when messages went elsewhere, or many changed.
void MessageCommands::tell(const OperationResult &result)
{
    if (!m_isActive)
        return;
    if (result.count <= qint64(MessageOperations::kAtOnce))
        m_list.messages().settle();
    const bool isNew = result.way == OperationResult::Way::Done;
    if (!isNew && movesMessages(result.deed))
        select(result.messages);
    if (result.text.isEmpty())
        return;
    if (result.count == 0)
        return m_bar.tell(MessageBar::Kind::Information, result.text);
    if (result.way == OperationResult::Way::Undone)
        return offer(result.text, tr("Redo"), &MessageCommands::redo);
    if (isNew && !result.canUndo)
        return m_bar.tell(MessageBar::Kind::Good, result.text);
    if (!isNew || result.count > 1 || movesMessages(result.deed))
        return offer(result.text, tr("Undo"), &MessageCommands::undo);
    if (m_bar.isVisible() && m_bar.text() == m_offered)
        m_bar.hide(); // its button would take back another deed than it says
}

void MessageCommands::offer(const QString &text, const QString &verb, void (MessageCommands::*answer)())
{
    m_offered = text;
    m_bar.ask(MessageBar::Kind::Good, text, {verb, [this, answer] { (this->*answer)(); }});
}

/// Selects those that the list shows; the first one is current.
void MessageCommands::select(const MessageRefs &messages)
{
    m_list.messages().settle();
    const MessageListModel &model = m_list.messages();
    std::vector<int> places;
    for (const MessageRef message : messages) {
        const int place = model.placeOf(message);
        if (place >= 0)
            places.push_back(place);
    }
    if (places.empty())
        return;
    std::sort(places.begin(), places.end());
    m_list.setCurrent(model.refAt(places.front()));
    if (places.size() > kMostSelected)
        return;
    QItemSelection selection;
    for (std::size_t i = 0; i < places.size();) {
        std::size_t end = i + 1;
        while (end < places.size() && places[end] == places[end - 1] + 1)
            ++end;
        selection.append({model.index(places[i], 0), model.index(places[end - 1], 0)});
        i = end;
    }
    m_list.selectionModel()->select(selection,
                                    QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
}

// --- Files ----------------------------------------------------------------------------------------------

void MessageCommands::fetchRest()
{
    m_engine.serverWishes().fetchRest(m_list.selected());
}

void MessageCommands::deleteOnServer()
{
    m_engine.serverWishes().deleteOnServer(m_list.selected());
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
    auto *files = new QFileDialog(m_list.window(), tr("Save message as"));
    files->setAttribute(Qt::WA_DeleteOnClose);
    files->setAcceptMode(QFileDialog::AcceptSave);
    files->setNameFilters({tr("Message (*.eml)"), tr("Readable text (*.txt)")});
    files->selectFile(safeFileName(subjectOrNone(message.subject())) + u".eml"_s);
    connect(files, &QFileDialog::fileSelected, this, [files, message](const QString &path) {
        const bool readable = files->selectedNameFilter().contains(u"*.txt"_s);
        if (!message.saveAsText(path, readable ? SavedText::Readable : SavedText::Raw, LineEnds::Lf))
            report(ReportLevel::Warning, "Unable to write file '%s'", qUtf8Printable(path));
    });
    files->open();
}
