#include "engine/imagesenders.h"

#include "config/reporter.h"

using namespace Qt::StringLiterals;

namespace {

constexpr ListFileTexts kTexts = {"Unable to read image senders file", "Unable to write image senders file",
                                  "Unable to backup image senders file"};

/// As it stands in the list; empty for what is no address. The list's last line "end" could not be one.
QString entryOf(const QString &address)
{
    constexpr qsizetype kLongestAddress = 320; // RFC 5321: 64 and 255 with the sign between
    const QString entry = address.trimmed().toLower();
    const qsizetype at = entry.lastIndexOf(u'@');
    const bool hasOddities = std::any_of(entry.begin(), entry.end(), [](QChar c) {
        return c.category() == QChar::Other_Control || c == u'\x2028' || c == u'\x2029';
    });
    return at > 0 && at < entry.size() - 1 && entry.size() <= kLongestAddress && !hasOddities ? entry
                                                                                              : QString();
}

} // namespace

ImageSenders::ImageSenders(QObject *parent)
    : QObject(parent)
    , m_file(u"ImageSenders"_s, kTexts)
{}

void ImageSenders::load()
{
    m_addresses.clear();
    m_changed = false;
    const QStringList lines = m_file.read().lines;
    for (const QString &line : lines) {
        const QString entry = entryOf(line);
        if (entry.isEmpty())
            note(u"ImageSenders: a line that is no address was skipped: %1"_s.arg(line));
        else
            m_addresses.insert(entry);
    }
}

bool ImageSenders::save()
{
    if (m_changed)
        m_changed = !m_file.write(list());
    return !m_changed;
}

bool ImageSenders::contains(const QString &address) const
{
    return m_addresses.contains(entryOf(address));
}

bool ImageSenders::add(const QString &address)
{
    const QString entry = entryOf(address);
    if (entry.isEmpty() || m_addresses.contains(entry))
        return false;
    m_addresses.insert(entry);
    m_changed = true;
    emit changed();
    return true;
}

bool ImageSenders::remove(const QString &address)
{
    if (!m_addresses.remove(entryOf(address)))
        return false;
    m_changed = true;
    emit changed();
    return true;
}

QStringList ImageSenders::list() const
{
    QStringList sorted(m_addresses.begin(), m_addresses.end());
    sorted.sort();
    return sorted;
}
