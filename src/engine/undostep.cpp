#include "engine/undostep.h"

#include "config/listtext.h"
#include "engine/storetasks.h"

#include <QCoreApplication>

using namespace Qt::StringLiterals;

namespace {

constexpr std::size_t kMostReferences = 20'000'000; ///< more of them in a line are damage

struct DeedRow
{
    const char *word; ///< in the line of a step, never changed
    const char *done; ///< %1: so many messages, %2: the place
    const char *deed;
};

constexpr std::array kDeeds = {
    DeedRow{"move", QT_TRANSLATE_NOOP("Deed", "%1 moved to %2"),
            QT_TRANSLATE_NOOP("Deed", "moving %1 to %2")},
    DeedRow{"copy", QT_TRANSLATE_NOOP("Deed", "%1 copied to %2"),
            QT_TRANSLATE_NOOP("Deed", "copying %1 to %2")},
    DeedRow{"delete", QT_TRANSLATE_NOOP("Deed", "%1 moved to %2"), QT_TRANSLATE_NOOP("Deed", "deleting %1")},
    DeedRow{"archive", QT_TRANSLATE_NOOP("Deed", "%1 moved to %2"),
            QT_TRANSLATE_NOOP("Deed", "moving %1 to %2")},
    DeedRow{"junk", QT_TRANSLATE_NOOP("Deed", "%1 marked as junk"),
            QT_TRANSLATE_NOOP("Deed", "marking %1 as junk")},
    DeedRow{"not_junk", QT_TRANSLATE_NOOP("Deed", "%1 marked as not junk"),
            QT_TRANSLATE_NOOP("Deed", "marking %1 as not junk")},
    DeedRow{"read", QT_TRANSLATE_NOOP("Deed", "%1 marked as read"),
            QT_TRANSLATE_NOOP("Deed", "marking %1 as read")},
    DeedRow{"unread", QT_TRANSLATE_NOOP("Deed", "%1 marked as unread"),
            QT_TRANSLATE_NOOP("Deed", "marking %1 as unread")},
    DeedRow{"flag", QT_TRANSLATE_NOOP("Deed", "%1 flagged"), QT_TRANSLATE_NOOP("Deed", "flagging %1")},
    DeedRow{"unflag", QT_TRANSLATE_NOOP("Deed", "%1 unflagged"), QT_TRANSLATE_NOOP("Deed", "unflagging %1")},
    DeedRow{"watch", QT_TRANSLATE_NOOP("Deed", "%1 watched"), QT_TRANSLATE_NOOP("Deed", "watching %1")},
    DeedRow{"unwatch", QT_TRANSLATE_NOOP("Deed", "%1 no longer watched"),
            QT_TRANSLATE_NOOP("Deed", "no longer watching %1")},
    DeedRow{"ignore", QT_TRANSLATE_NOOP("Deed", "%1 ignored"), QT_TRANSLATE_NOOP("Deed", "ignoring %1")},
    DeedRow{"unignore", QT_TRANSLATE_NOOP("Deed", "%1 no longer ignored"),
            QT_TRANSLATE_NOOP("Deed", "no longer ignoring %1")},
    DeedRow{"mark", QT_TRANSLATE_NOOP("Deed", "%1 marked"), QT_TRANSLATE_NOOP("Deed", "marking %1")},
    DeedRow{"tag", QT_TRANSLATE_NOOP("Deed", "%1 tagged %2"), QT_TRANSLATE_NOOP("Deed", "tagging %1 %2")},
    DeedRow{"untag", QT_TRANSLATE_NOOP("Deed", "Tags taken off %1"),
            QT_TRANSLATE_NOOP("Deed", "taking tags off %1")},
    DeedRow{"group_read", QT_TRANSLATE_NOOP("Deed", "%1 in %2 marked as read"),
            QT_TRANSLATE_NOOP("Deed", "marking %1 in %2 as read")},
    DeedRow{"delete_for_good", QT_TRANSLATE_NOOP("Deed", "%1 deleted for good"),
            QT_TRANSLATE_NOOP("Deed", "deleting %1 for good")},
};
static_assert(kDeeds.size() == std::size_t(Deed::DeleteForGood) + 1);

constexpr int kChangeKinds = int(UndoChange::Kind::Bits) + 1;

QString inWords(const char *pattern, qint64 messages, const QString &place)
{
    const QString text = QCoreApplication::translate("Deed", pattern);
    // In one go: a name may hold "%2" itself.
    return text.contains(u"%2"_s) ? text.arg(messageCount(messages), place)
                                  : text.arg(messageCount(messages));
}

/// References as runs of rising articles: "3:1-40,55;7:2".
QString runsOf(const MessageRefs &messages)
{
    QString text;
    for (std::size_t i = 0; i < messages.size();) {
        std::size_t end = i + 1;
        while (end < messages.size() && messages[end].group == messages[i].group &&
               messages[end].article == messages[end - 1].article + 1)
            ++end;
        const bool sameGroup = i > 0 && messages[i - 1].group == messages[i].group;
        if (i > 0)
            text += sameGroup ? u',' : u';';
        if (!sameGroup)
            text += QString::number(messages[i].group) + u':';
        text += QString::number(messages[i].article);
        if (end - i > 1)
            text += u'-' + QString::number(messages[end - 1].article);
        i = end;
    }
    return text;
}

/// Appends the articles of "4" or "4-9". False: it is neither.
bool takeRun(MessageRefs &messages, int group, QStringView run)
{
    const qsizetype dash = run.indexOf(u'-');
    bool isFirst = false;
    bool isLast = false;
    const quint32 first = (dash < 0 ? run : run.first(dash)).toUInt(&isFirst);
    const quint32 last = (dash < 0 ? run : run.sliced(dash + 1)).toUInt(&isLast);
    if (!isFirst || !isLast || first == 0 || last < first ||
        last - first >= kMostReferences - qMin(messages.size(), kMostReferences))
        return false;
    for (quint64 article = first; article <= last; ++article)
        messages.push_back({group, quint32(article)});
    return true;
}

bool takeMessages(MessageRefs &messages, const QString &text)
{
    if (text.isEmpty())
        return true;
    const QStringList pieces = text.split(u';');
    for (const QStringView piece : pieces) {
        const qsizetype colon = piece.indexOf(u':');
        bool isGroup = false;
        const int group = colon < 0 ? 0 : piece.first(colon).toInt(&isGroup);
        if (!isGroup || group <= 0)
            return false;
        for (const QStringView run : piece.sliced(colon + 1).split(u',')) {
            if (!takeRun(messages, group, run))
                return false;
        }
    }
    return true;
}

/// The numbers that a change of each kind has, in the order of its words.
struct ChangeRow
{
    const char *word; ///< in the line of a step, never changed
    std::vector<int UndoChange::*> groups;
    std::vector<quint32 UndoChange::*> bits;
};

const ChangeRow &rowOf(UndoChange::Kind kind)
{
    static const std::array<ChangeRow, 3> s_rows = {{
        {"move", {&UndoChange::source, &UndoChange::target, &UndoChange::origin}, {}},
        {"copy", {&UndoChange::target}, {}},
        {"bits",
         {},
         {&UndoChange::marksSet, &UndoChange::marksCleared, &UndoChange::tagsSet, &UndoChange::tagsCleared}},
    }};
    return s_rows[std::size_t(kind)];
}

QString changeText(const UndoChange &change)
{
    const ChangeRow &row = rowOf(change.kind);
    QStringList words = {QLatin1String(row.word)};
    for (int UndoChange::*group : row.groups)
        words += QString::number(change.*group);
    for (quint32 UndoChange::*bits : row.bits)
        words += QString::number(change.*bits, 16);
    words += runsOf(change.messages);
    if (change.kind == UndoChange::Kind::Copy)
        words += runsOf(change.copies);
    return words.join(u' ');
}

std::optional<UndoChange> changeOf(const QString &text)
{
    QStringList words = text.split(u' ');
    UndoChange change;
    int kind = 0;
    while (kind < kChangeKinds && words.first() != QLatin1String(rowOf(UndoChange::Kind(kind)).word))
        ++kind;
    if (kind == kChangeKinds)
        return {};
    change.kind = UndoChange::Kind(kind);
    words.removeFirst();
    const ChangeRow &row = rowOf(change.kind);
    const bool copies = change.kind == UndoChange::Kind::Copy;
    if (words.size() != qsizetype(row.groups.size() + row.bits.size()) + (copies ? 2 : 1))
        return {};
    bool good = true;
    for (int UndoChange::*group : row.groups) {
        bool isNumber = false;
        change.*group = words.takeFirst().toInt(&isNumber);
        good = good && isNumber && change.*group >= 0;
    }
    for (quint32 UndoChange::*bits : row.bits) {
        bool isNumber = false;
        change.*bits = words.takeFirst().toUInt(&isNumber, 16);
        good = good && isNumber;
    }
    good = takeMessages(change.messages, words.takeFirst()) && good;
    if (copies)
        good = takeMessages(change.copies, words.first()) && change.copies.size() == change.messages.size() &&
               good;
    return good ? std::optional(change) : std::nullopt;
}

} // namespace

QString UndoStep::toLine() const
{
    QStringList fields = {QLatin1String(kDeeds[std::size_t(deed)].word), QString::number(time),
                          QString::number(messages), escapedText(place)};
    for (const UndoChange &change : changes)
        fields += changeText(change);
    return fields.join(u'\t');
}

std::optional<UndoStep> UndoStep::fromLine(const QString &line)
{
    const QStringList fields = line.split(u'\t');
    const auto row = std::find_if(kDeeds.begin(), kDeeds.end(), [&](const DeedRow &deed) {
        return fields.first() == QLatin1String(deed.word);
    });
    UndoStep step;
    bool isTime = false;
    bool isCount = false;
    step.time = fields.value(1).toLongLong(&isTime);
    step.messages = fields.value(2).toLongLong(&isCount);
    if (row == kDeeds.end() || fields.size() < 4 || !isTime || !isCount || step.messages < 0)
        return {};
    step.deed = Deed(row - kDeeds.begin());
    step.place = unescapedText(fields[3]);
    for (const QString &field : fields.sliced(4)) {
        const std::optional<UndoChange> change = changeOf(field);
        if (!change)
            return {};
        step.changes.push_back(*change);
    }
    return step;
}

bool movesMessages(Deed deed)
{
    return deed <= Deed::NotJunk || deed == Deed::DeleteForGood;
}

QString doneInWords(Deed deed, qint64 messages, const QString &place)
{
    return inWords(kDeeds[std::size_t(deed)].done, messages, place);
}

QString deedInWords(Deed deed, qint64 messages, const QString &place)
{
    return inWords(kDeeds[std::size_t(deed)].deed, messages, place);
}
