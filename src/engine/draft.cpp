#include "engine/draft.h"

#include "config/clock.h"
#include "config/directory.h"
#include "config/files.h"
#include "config/reporter.h"
#include "engine/drafttext.h"

#include <QDir>
#include <QFile>
#include <QSet>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kBeginning = 80; ///< characters of a text that a list of versions shows
constexpr const char *kDeeds[] = {"new", "reply", "forward"};
static_assert(std::size(kDeeds) == std::size_t(DraftContext::Deed::Forward) + 1);

QString directoryOf(int draft)
{
    return configPathOf(u"Drafts/%1"_s.arg(draft));
}

QByteArray placeText(MessageRef place)
{
    return QByteArray::number(place.group) + ' ' + QByteArray::number(place.article);
}

MessageRef placeOf(const QByteArray &text)
{
    const QList<QByteArray> words = text.split(' ');
    const MessageRef place{words.value(0).toInt(), words.value(1).toUInt()};
    return place.group > 0 ? place : MessageRef();
}

QByteArray placesText(const MessageRefs &places)
{
    QByteArrayList texts;
    for (const MessageRef place : places)
        texts += placeText(place);
    return texts.join(',');
}

MessageRefs placesOf(const QByteArray &text)
{
    MessageRefs places;
    for (const QByteArray &one : text.split(',')) {
        if (const MessageRef place = placeOf(one); !place.isNull())
            places.push_back(place);
    }
    return places;
}

template <std::size_t size>
int codeOf(const QByteArray &word, const char *const (&words)[size])
{
    const auto found = std::find(std::begin(words), std::end(words), word);
    return found == std::end(words) ? 0 : int(found - std::begin(words));
}

struct StateField
{
    const char *key;
    QByteArray (*text)(const DraftState &state);
    void (*take)(DraftState &state, const QByteArray &text);
};
constexpr StateField kStateFields[] = {
    {"phase ", [](const DraftState &s) { return QByteArray(kDraftPhases[int(s.phase)]); },
     [](DraftState &s, const QByteArray &text) { s.phase = DraftPhase(codeOf(text, kDraftPhases)); }},
    {"original ", [](const DraftState &s) { return placeText(s.context.original); },
     [](DraftState &s, const QByteArray &text) { s.context.original = placeOf(text); }},
    {"deed ", [](const DraftState &s) { return QByteArray(kDeeds[int(s.context.deed)]); },
     [](DraftState &s, const QByteArray &text) {
         s.context.deed = DraftContext::Deed(codeOf(text, kDeeds));
     }},
    {"others ", [](const DraftState &s) { return placesText(s.context.others); },
     [](DraftState &s, const QByteArray &text) { s.context.others = placesOf(text); }},
    {"personal ", [](const DraftState &s) { return QByteArray(s.context.isPersonal ? "1" : "0"); },
     [](DraftState &s, const QByteArray &text) { s.context.isPersonal = text == "1"; }},
    {"article ", [](const DraftState &s) { return QByteArray(s.context.isArticle ? "1" : "0"); },
     [](DraftState &s, const QByteArray &text) { s.context.isArticle = text == "1"; }},
    {"sent-without-copy ", [](const DraftState &s) { return QByteArray(s.context.wasSent ? "1" : "0"); },
     [](DraftState &s, const QByteArray &text) { s.context.wasSent = text == "1"; }},
    {"stored ", [](const DraftState &s) { return placeText(s.context.stored); },
     [](DraftState &s, const QByteArray &text) { s.context.stored = placeOf(text); }},
    {"stored-version ", [](const DraftState &s) { return QByteArray::number(s.storedVersion); },
     [](DraftState &s, const QByteArray &text) { s.storedVersion = text.toInt(); }},
    {"message-id ", [](const DraftState &s) { return s.messageId; },
     [](DraftState &s, const QByteArray &text) { s.messageId = text; }},
    {"storing ", [](const DraftState &s) { return QByteArray::number(s.storing); },
     [](DraftState &s, const QByteArray &text) { s.storing = text.toUInt(); }},
    {"replaced ", [](const DraftState &s) { return placeText(s.replaced); },
     [](DraftState &s, const QByteArray &text) { s.replaced = placeOf(text); }},
    {"sent-id ", [](const DraftState &s) { return s.sentId; },
     [](DraftState &s, const QByteArray &text) { s.sentId = text; }},
    {"foreign ", [](const DraftState &s) { return QByteArray(s.isForeign ? "1" : "0"); },
     [](DraftState &s, const QByteArray &text) { s.isForeign = text == "1"; }},
};

DraftVersion summaryOf(const Composition &composition)
{
    const QString beginning = composition.text.left(20 * kBeginning).simplified().left(kBeginning);
    return {clockSeconds(), int(composition.text.size()), composition.subject, beginning};
}

} // namespace

Draft::Draft(int number)
    : m_number(number)
    , m_directory(directoryOf(number))
    , m_contents(m_directory + u"/Attachments"_s)
{}

void Draft::read()
{
    m_isOnDisk = true;
    QFile file(m_directory + u"/State"_s);
    const QByteArray text = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    if (!text.endsWith("\nend\n"))
        note(u"The state of draft %1 is lost; it is opened again"_s.arg(m_number));
    for (const QByteArray &line : text.split('\n')) {
        for (const StateField &field : kStateFields) {
            if (line.startsWith(field.key))
                field.take(m_state, line.sliced(qsizetype(qstrlen(field.key))));
        }
    }
}

bool Draft::writeState()
{
    QByteArray text;
    for (const StateField &field : kStateFields)
        text += field.key + field.text(m_state) + '\n';
    const QString path = m_directory + u"/State"_s;
    if (writeReplacing(path, text + "end\n"))
        return true;
    report(ReportLevel::Warning, "Unable to write file '%s'", qUtf8Printable(path));
    return false;
}

bool Draft::setState(const DraftState &state)
{
    if (state == m_state)
        return true;
    m_state = state;
    return !m_isOnDisk || writeState();
}

bool Draft::setStateOrStay(const DraftState &state)
{
    const DraftState before = m_state;
    if (setState(state))
        return true;
    m_state = before;
    return false;
}

bool Draft::makeDirectory()
{
    if (m_isOnDisk)
        return true;
    QString directory = u"Drafts/%1"_s.arg(m_number);
    m_isOnDisk = configFile(directory, true) && syncDirectoryOf(m_directory) && writeState();
    return m_isOnDisk;
}

DraftJournal &Draft::journal()
{
    if (!m_journal) {
        m_journal = std::make_unique<DraftJournal>(m_directory);
        m_journal->countFrom(m_state.storedVersion); // it may be among those that cannot be read
    }
    return *m_journal;
}

std::optional<QList<QByteArray>> Draft::keepContents(const Composition &composition)
{
    QList<QByteArray> keys;
    for (const Attachment &attachment : composition.attachments) {
        const std::optional<QByteArray> key = m_contents.keep(attachment.data);
        if (!key)
            return {};
        keys.append(*key);
    }
    return keys;
}

std::optional<Draft::Storing> Draft::keepAttachmentsOn(const Composition &composition)
{
    const Attachment *next = nullptr;
    Storing storing;
    for (const Attachment &attachment : composition.attachments) {
        const bool isKnown = m_contents.knows(attachment.data);
        storing.total += attachment.data.size();
        storing.done += isKnown ? attachment.data.size() : 0;
        if (!isKnown && !next)
            next = &attachment;
    }
    if (!next || !makeDirectory() || m_contents.keepOn(next->data) == DraftContents::Progress::Failed)
        return {};
    storing.done += m_contents.knows(next->data) ? next->data.size() : m_contents.storedSoFar();
    return storing;
}

bool Draft::keep(const Composition &composition)
{
    if (!makeDirectory())
        return false;
    const std::optional<QList<QByteArray>> contents = keepContents(composition);
    const QByteArray text = contents ? draftText(composition, *contents) : QByteArray();
    if (!m_newest && !versions().empty())
        m_newest = journal().text(versions().back());
    if (contents && m_newest == text)
        return true;
    if (!contents || !append(composition, *contents, text)) {
        report(ReportLevel::Warning, "Unable to write file '%s'",
               qUtf8Printable(m_directory + u"/Versions"_s));
        return false;
    }
    return true;
}

bool Draft::append(const Composition &composition, const QList<QByteArray> &contents, const QByteArray &text)
{
    const QList<QByteArray> before = journal().contents();
    if (!journal().append(summaryOf(composition), contents, text))
        return false;
    m_newest = text;
    m_contents.forgetAllBut(contents);
    const QList<QByteArray> now = journal().contents();
    const bool someWent =
        std::any_of(before.begin(), before.end(), [&](const QByteArray &key) { return !now.contains(key); });
    if (someWent)
        m_contents.removeAllBut(now);
    return true;
}

bool Draft::keepAgain(int serial)
{
    const DraftJournal::Entry *found = entry(serial);
    const std::optional<QByteArray> text = found ? journal().text(*found) : std::nullopt;
    if (!text)
        return false;
    const DraftJournal::Entry again = *found;
    if (!journal().append(again.version, again.contents, *text))
        return false;
    m_newest = text;
    return true;
}

const std::vector<DraftJournal::Entry> &Draft::versions()
{
    return journal().entries();
}

const DraftJournal::Entry *Draft::entry(int serial)
{
    const auto found = std::find_if(versions().begin(), versions().end(),
                                    [serial](const auto &entry) { return entry.serial == serial; });
    return found == versions().end() ? nullptr : &*found;
}

int Draft::newestSerial()
{
    return versions().empty() ? 0 : versions().back().serial;
}

Composition Draft::textOf(const DraftJournal::Entry &entry)
{
    return readDraftText(journal().text(entry).value_or(QByteArray())).composition;
}

Composition Draft::version(const DraftJournal::Entry &entry, QStringList *lost)
{
    DraftText draft = readDraftText(journal().text(entry).value_or(QByteArray()));
    QList<Attachment> found;
    for (qsizetype i = 0; i < draft.contents.size(); ++i) {
        Attachment &attachment = draft.composition.attachments[i];
        const std::optional<QByteArray> data = m_contents.read(draft.contents[i]);
        if (!data) {
            note(u"An attachment of draft %1 is lost: %2"_s.arg(m_number).arg(attachment.name));
            lost->append(attachment.name);
            continue;
        }
        attachment.data = *data;
        found.append(attachment);
    }
    draft.composition.attachments = found;
    return draft.composition;
}

void Draft::rest()
{
    m_journal.reset();
    m_newest.reset();
    m_contents.forgetAllBut({});
}

QString Draft::setAside()
{
    rest();
    const QString aside = m_directory + u".damaged"_s;
    if (QFileInfo::exists(aside) || !QDir().rename(m_directory, aside))
        return {};
    syncDirectoryOf(aside);
    m_isOnDisk = false;
    return aside;
}

/// The versions first: what is left of a removal that was interrupted counts as none.
void Draft::remove()
{
    rest();
    QFile::remove(m_directory + u"/Versions"_s);
    QFile::remove(m_directory + u"/Earlier"_s);
    if (m_isOnDisk && QDir(m_directory).removeRecursively())
        syncDirectoryOf(m_directory);
    m_isOnDisk = false;
}
