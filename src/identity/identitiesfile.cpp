#include "identity/identitiesfile.h"

#include "config/listtext.h"
#include "config/reporter.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr ListFileTexts kTexts = {"Unable to read identities file", "Unable to write identities file",
                                  "Unable to backup identities file"};

constexpr int kVersion = 1;
constexpr qsizetype kFewestFields = 3;
constexpr int kHighestNumber = 1'000'000'000; ///< a greater one is garbage, and could not be counted on from
constexpr QChar kCounter = u'C';

/// The texts behind the number, in their order.
constexpr QString Identity::*kPlacedTexts[] = {&Identity::name, &Identity::address, &Identity::replyTo,
                                               &Identity::organisation, &Identity::signature};

/// A field that stands behind its letter: how it is written and read.
struct LetterField
{
    char16_t letter;
    QString (*text)(const Identity &);
    void (*take)(Identity &, const QString &);
};

template <auto Member>
QString textOf(const Identity &identity)
{
    return escapedText(identity.*Member);
}

template <auto Member>
void takeText(Identity &identity, const QString &text)
{
    identity.*Member = unescapedText(text);
}

template <auto Member>
QString numberText(const Identity &identity)
{
    return QString::number(identity.*Member);
}

/// What is no number leaves the default.
void takeFlags(Identity &identity, const QString &text)
{
    bool isNumber = false;
    const quint32 flags = text.toUInt(&isNumber);
    if (isNumber)
        identity.flags = flags;
}

template <auto Member>
void takeGroup(Identity &identity, const QString &text)
{
    identity.*Member = qMax(0, text.toInt());
}

constexpr LetterField kLetterFields[] = {
    // the order of the line; the reader takes any order
    {u'F', &numberText<&Identity::flags>, &takeFlags},
    {u'M', &numberText<&Identity::sentMail>, &takeGroup<&Identity::sentMail>},
    {u'N', &numberText<&Identity::sentNews>, &takeGroup<&Identity::sentNews>},
    {u'H', &textOf<&Identity::hostName>, &takeText<&Identity::hostName>},
    {u'K', &textOf<&Identity::keyId>, &takeText<&Identity::keyId>},
};

QString lineOf(const Identity &identity)
{
    QStringList fields = {QString::number(identity.number)};
    for (QString Identity::*text : kPlacedTexts)
        fields += escapedText(identity.*text);
    for (const LetterField &field : kLetterFields)
        fields += field.letter + field.text(identity);
    return (fields + identity.others).join(u'\t');
}

void takeLetterField(Identity &identity, const QString &field)
{
    const auto known =
        std::find_if(std::begin(kLetterFields), std::end(kLetterFields),
                     [&](const LetterField &one) { return field.startsWith(QChar(one.letter)); });
    if (known != std::end(kLetterFields))
        known->take(identity, field.sliced(1));
    else if (!field.isEmpty())
        identity.others += field;
}

Identity identityOf(const QStringList &fields)
{
    Identity identity;
    const int number = fields.first().toInt();
    identity.number = number <= kHighestNumber ? qMax(0, number) : 0;
    qsizetype next = 1;
    for (QString Identity::*text : kPlacedTexts) {
        if (next < fields.size())
            identity.*text = unescapedText(fields[next++]);
    }
    for (; next < fields.size(); ++next)
        takeLetterField(identity, fields[next]);
    return identity;
}

void takeLine(IdentitiesFile::Contents &contents, const QString &line)
{
    const QStringList fields = line.split(u'\t');
    if (fields.size() >= kFewestFields) {
        contents.identities.push_back(identityOf(fields));
        contents.counter = qMax(contents.counter, contents.identities.back().number);
    } else if (line.startsWith(kCounter)) {
        contents.counter = qMax(contents.counter, qMin(line.sliced(1).toInt(), kHighestNumber));
    } else if (!line.isEmpty()) {
        note(u"A line of the identities file was skipped: %1"_s.arg(line));
    }
}

/// The lines behind the version; all of them where it is missing.
QStringList recordsOf(const QStringList &lines)
{
    if (lines.isEmpty() || lines.first().contains(u'\t'))
        return lines;
    if (lines.first().trimmed() != QString::number(kVersion))
        note(u"The identities file has the unknown version '%1'"_s.arg(lines.first()));
    return lines.sliced(1);
}

} // namespace

IdentitiesFile::IdentitiesFile()
    : m_file(u"Identities/Index"_s, kTexts)
{}

IdentitiesFile::Contents IdentitiesFile::read()
{
    const ListFile::Contents file = m_file.read();
    Contents contents;
    contents.isReadable = file.outcome != ListFile::Outcome::Unreadable;
    for (const QString &line : recordsOf(file.lines))
        takeLine(contents, line);
    return contents;
}

bool IdentitiesFile::write(const Contents &contents)
{
    QStringList lines = {QString::number(kVersion)};
    int highest = 0;
    for (const Identity &identity : contents.identities) {
        lines += lineOf(identity);
        highest = qMax(highest, identity.number);
    }
    if (contents.counter > highest)
        lines += kCounter + QString::number(contents.counter);
    return m_file.write(lines);
}
