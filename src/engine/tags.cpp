#include "engine/tags.h"

#include "config/listtext.h"
#include "config/reporter.h"

#include <QCoreApplication>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr ListFileTexts kTexts = {"Unable to read tags file", "Unable to write tags file",
                                  "Unable to backup tags file"};
const QLatin1String kRestingKey("resting ");

/// What a new user finds.
constexpr std::pair<const char *, int> kFirstTags[] = {
    {QT_TRANSLATE_NOOP("Tags", "Important"), 0},  {QT_TRANSLATE_NOOP("Tags", "Work"), 30},
    {QT_TRANSLATE_NOOP("Tags", "Personal"), 130}, {QT_TRANSLATE_NOOP("Tags", "To do"), 215},
    {QT_TRANSLATE_NOOP("Tags", "Later"), 280},
};

struct Field
{
    const char *key;
    QString (*text)(const Tag &);
    bool (*take)(Tag &, const QString &);
};

template <int Tag::*Member, int End>
bool takeNumber(Tag &tag, const QString &text)
{
    bool isNumber = false;
    tag.*Member = text.toInt(&isNumber);
    return isNumber && tag.*Member >= 0 && tag.*Member < End;
}

bool takeName(Tag &tag, const QString &text)
{
    tag.name = unescapedText(text).simplified();
    return !tag.name.isEmpty();
}

constexpr Field kFields[] = {
    // the order of the line; the reader takes any order
    {"bit ", [](const Tag &tag) { return QString::number(tag.bit); }, &takeNumber<&Tag::bit, Tags::kBits>},
    {"name ", [](const Tag &tag) { return escapedText(tag.name); }, &takeName},
    {"hue ", [](const Tag &tag) { return QString::number(tag.hue); }, &takeNumber<&Tag::hue, 360>},
};

QString lineOf(const Tag &tag)
{
    QStringList fields;
    for (const Field &field : kFields)
        fields += QLatin1String(field.key) + field.text(tag);
    return fields.join(u'\t');
}

/// Empty when the line lacks a field, or when one is not what it should be.
std::optional<Tag> tagOf(const QString &line)
{
    Tag tag;
    const QStringList pieces = line.split(u'\t');
    for (const Field &field : kFields) {
        const QLatin1String key(field.key);
        const auto found = std::find_if(pieces.begin(), pieces.end(),
                                        [key](const QString &piece) { return piece.startsWith(key); });
        if (found == pieces.end() || !field.take(tag, found->sliced(key.size())))
            return {};
    }
    return tag;
}

quint32 maskOf(int bit)
{
    return 1u << bit;
}

} // namespace

Tags::Tags(QObject *parent)
    : QObject(parent)
    , m_file(u"Tags"_s, kTexts)
{}

void Tags::load()
{
    const ListFile::Contents contents = m_file.read();
    m_tags.clear();
    m_resting = 0;
    for (const QString &line : contents.lines) {
        if (line.startsWith(kRestingKey)) {
            m_resting = line.sliced(kRestingKey.size()).toUInt(nullptr, 16);
            continue;
        }
        const std::optional<Tag> found = tagOf(line);
        if (found && !tag(found->bit) && !find(found->name))
            m_tags.push_back(*found);
        else
            note(u"Tags: a line that is no tag was skipped: %1"_s.arg(line));
    }
    for (const Tag &tag : m_tags)
        m_resting &= ~maskOf(tag.bit);
    if (contents.outcome == ListFile::Outcome::Missing) {
        for (const auto &[name, hue] : kFirstTags)
            m_tags.push_back({int(m_tags.size()), QCoreApplication::translate("Tags", name), hue});
    }
    m_changed = false; // the first ones need not be written: a new language gives them new names
}

bool Tags::save()
{
    if (!m_changed)
        return true;
    QStringList lines;
    if (m_resting != 0)
        lines += kRestingKey + QString::number(m_resting, 16);
    for (const Tag &tag : m_tags)
        lines += lineOf(tag);
    m_changed = !m_file.write(lines);
    return !m_changed;
}

Tag *Tags::get(int bit)
{
    const auto found =
        std::find_if(m_tags.begin(), m_tags.end(), [bit](const Tag &tag) { return tag.bit == bit; });
    return found == m_tags.end() ? nullptr : &*found;
}

const Tag *Tags::tag(int bit) const
{
    return const_cast<Tags *>(this)->get(bit);
}

const Tag *Tags::find(const QString &name) const
{
    const auto found = std::find_if(m_tags.begin(), m_tags.end(), [&name](const Tag &tag) {
        return tag.name.compare(name, Qt::CaseInsensitive) == 0;
    });
    return found == m_tags.end() ? nullptr : &*found;
}

std::vector<Tag> Tags::of(quint32 bits) const
{
    std::vector<Tag> found;
    std::copy_if(m_tags.begin(), m_tags.end(), std::back_inserter(found),
                 [bits](const Tag &tag) { return (bits & maskOf(tag.bit)) != 0; });
    return found;
}

quint32 Tags::bitOfKey(int key) const
{
    return key >= 1 && key <= kKeys && key <= int(m_tags.size()) ? maskOf(m_tags[std::size_t(key - 1)].bit)
                                                                 : 0;
}

/// Whether the tag with that bit may have that name; no two differ by their case alone.
bool Tags::isGoodName(const QString &name, int bit) const
{
    const Tag *other = find(name.simplified());
    return !name.simplified().isEmpty() && (!other || other->bit == bit);
}

int Tags::add(const QString &name, int hue)
{
    int bit = 0;
    while (bit < kBits && (tag(bit) || (m_resting & maskOf(bit)) != 0))
        ++bit;
    if (bit == kBits || !isGoodName(name, bit))
        return -1;
    m_tags.push_back({bit, name.simplified(), qBound(0, hue, 359)});
    touch();
    return bit;
}

bool Tags::rename(int bit, const QString &name)
{
    Tag *tag = get(bit);
    if (!tag || !isGoodName(name, bit))
        return false;
    tag->name = name.simplified();
    touch();
    return true;
}

void Tags::setHue(int bit, int hue)
{
    if (Tag *tag = get(bit)) {
        tag->hue = qBound(0, hue, 359);
        touch();
    }
}

void Tags::moveTo(int bit, int place)
{
    const Tag *tag = get(bit);
    if (!tag)
        return;
    const auto from = m_tags.begin() + (tag - m_tags.data());
    const auto to = m_tags.begin() + qBound(0, place, int(m_tags.size()) - 1);
    if (from < to)
        std::rotate(from, from + 1, to + 1);
    else
        std::rotate(to, from, from + 1);
    touch();
}

void Tags::remove(int bit)
{
    if (!get(bit))
        return;
    std::erase_if(m_tags, [bit](const Tag &tag) { return tag.bit == bit; });
    m_resting |= maskOf(bit);
    touch();
    emit removed(bit);
}

void Tags::release(quint32 bits)
{
    m_changed = m_changed || (m_resting & bits) != 0;
    m_resting &= ~bits;
}

void Tags::touch()
{
    m_changed = true;
    emit changed();
}
