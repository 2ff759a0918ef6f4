#include "store/groupsfile.h"

#include "config/listtext.h"
#include "config/reporter.h"

#include <QSet>

#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr ListFileTexts kTexts = {"Unable to read groups file", "Unable to write groups file",
                                  "Unable to backup groups file"};
constexpr char kCounterKey[] = "next ";

/// A field of a group's line: its key, the blank included, and how its value is written and read.
struct Field
{
    const char *key;
    QString (*text)(const GroupRecord &);
    void (*take)(GroupRecord &, const QString &);
};

template <auto Member>
QString numberText(const GroupRecord &record)
{
    return QString::number(record.*Member);
}

/// What does not fit is 0: a number cut to its lower bits would be another group's.
template <auto Member>
void takeNumber(GroupRecord &record, const QString &text)
{
    using Number = std::remove_reference_t<decltype(record.*Member)>;
    const qint64 number = text.toLongLong();
    record.*Member = std::in_range<Number>(number) ? Number(number) : Number(0);
}

constexpr Field kFields[] = {
    // the order of the line; the reader takes any order
    {"number ", &numberText<&GroupRecord::number>, &takeNumber<&GroupRecord::number>},
    {"name ", [](const GroupRecord &record) { return escapedText(record.name); },
     [](GroupRecord &record, const QString &text) { record.name = unescapedText(text); }},
    {"kind ", [](const GroupRecord &record) { return wordOf(record.kind); },
     [](GroupRecord &record, const QString &text) { record.kind = kindOf(text); }},
    {"role ", [](const GroupRecord &record) { return wordOf(record.role); },
     [](GroupRecord &record, const QString &text) { record.role = roleOf(text); }},
    {"parent ", &numberText<&GroupRecord::parent>, &takeNumber<&GroupRecord::parent>},
    {"flags ", &numberText<&GroupRecord::flags>, &takeNumber<&GroupRecord::flags>},
    {"options ", &numberText<&GroupRecord::options>, &takeNumber<&GroupRecord::options>},
    {"account ", &numberText<&GroupRecord::account>, &takeNumber<&GroupRecord::account>},
};

QString lineOf(const GroupRecord &record)
{
    QStringList fields;
    for (const Field &field : kFields)
        fields += QLatin1String(field.key) + field.text(record);
    return fields.join(u'\t');
}

GroupRecord recordOf(const QString &line)
{
    GroupRecord record;
    const QStringList pieces = line.split(u'\t');
    for (const QString &piece : pieces) {
        for (const Field &field : kFields) {
            const QLatin1String key(field.key);
            if (piece.startsWith(key))
                field.take(record, piece.sliced(key.size()));
        }
    }
    return record;
}

/// A name that could be written by hand only: "/" and control characters would put it out of reach.
QString cleanedName(QString name)
{
    for (QChar &c : name) {
        if (c == u'/' || c.category() == QChar::Other_Control)
            c = u'_';
    }
    return name.trimmed();
}

} // namespace

GroupsFile::GroupsFile()
    : m_file(u"Groups/Index"_s, kTexts)
{}

GroupsFile::Contents GroupsFile::read()
{
    Contents contents;
    const ListFile::Contents file = m_file.read();
    contents.outcome = file.outcome;
    QSet<int> numbers;
    for (const QString &line : file.lines) {
        if (line.startsWith(QLatin1String(kCounterKey))) {
            const int next = line.sliced(qsizetype(sizeof kCounterKey) - 1).toInt();
            if (next <= kMostGroupNumber)
                contents.nextNumber = qMax(contents.nextNumber, next);
            continue;
        }
        GroupRecord record = recordOf(line);
        record.name = cleanedName(record.name);
        if (record.number <= 0 || record.number > kMostGroupNumber || record.name.isEmpty() ||
            numbers.contains(record.number)) {
            note(u"Groups/Index: a line that is no group was skipped: %1"_s.arg(line));
            continue;
        }
        numbers.insert(record.number);
        contents.nextNumber = qMax(contents.nextNumber, record.number + 1);
        contents.records.push_back(record);
    }
    return contents;
}

bool GroupsFile::write(int nextNumber, const std::vector<GroupRecord> &records)
{
    QStringList lines = {QLatin1String(kCounterKey) + QString::number(nextNumber)};
    for (const GroupRecord &record : records)
        lines += lineOf(record);
    return m_file.write(lines);
}
