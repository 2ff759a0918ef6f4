#include "ui/compose/recipientpills.h"

using namespace Qt::StringLiterals;

QString textOfAddresses(const QList<Address> &addresses)
{
    QStringList texts;
    for (const Address &address : addresses)
        texts.append(formatAddress(address));
    return texts.join(u", "_s);
}

int RecipientPills::find(const Address &address) const
{
    for (int i = 0; i < count(); ++i)
        if (m_pills[i].address.address.compare(address.address, Qt::CaseInsensitive) == 0 &&
            (!address.address.isEmpty() || m_pills[i].address.name == address.name))
            return i;
    return -1;
}

int RecipientPills::insert(int index, const QList<Address> &addresses)
{
    // many at once are compared through a set: a pasted list may have thousands
    QSet<QString> there;
    for (const RecipientPill &pill : std::as_const(m_pills))
        there.insert(pill.address.address.isEmpty() ? pill.address.name : pill.address.address.toLower());
    QList<RecipientPill> added;
    for (const Address &address : addresses) {
        const QString key = address.address.isEmpty() ? address.name : address.address.toLower();
        if (key.isEmpty())
            continue;
        if (there.contains(key)) {
            if (const int known = find(address); known >= 0 && addresses.size() == 1)
                select(known);
            continue;
        }
        there.insert(key);
        added.append({address, {}, false, {}});
    }
    QList<RecipientPill> joined = m_pills.first(index);
    joined.append(added);
    joined.append(m_pills.sliced(index));
    m_pills = std::move(joined);
    return int(added.size());
}

void RecipientPills::remove(int index)
{
    m_pills.removeAt(index);
    m_current = -1;
}

QList<Address> RecipientPills::removeSelected()
{
    const QList<Address> removed = selected();
    m_pills.removeIf([](const RecipientPill &pill) { return pill.selected; });
    m_current = -1;
    return removed;
}

void RecipientPills::select(int index, bool keepOthers)
{
    if (!keepOthers)
        selectNone();
    m_pills[index].selected = true;
    m_current = index;
}

void RecipientPills::selectTo(int index)
{
    const int from = m_current < 0 ? index : m_current;
    selectNone();
    for (int i = std::min(from, index); i <= std::max(from, index); ++i)
        m_pills[i].selected = true;
    m_current = from;
}

void RecipientPills::toggle(int index)
{
    m_pills[index].selected = !m_pills[index].selected;
    m_current = index;
}

void RecipientPills::selectAll()
{
    for (RecipientPill &pill : m_pills)
        pill.selected = true;
    m_current = count() - 1;
}

void RecipientPills::selectNone()
{
    for (RecipientPill &pill : m_pills)
        pill.selected = false;
    m_current = -1;
}

bool RecipientPills::hasSelection() const
{
    return std::any_of(m_pills.begin(), m_pills.end(), [](const RecipientPill &p) { return p.selected; });
}

QList<Address> RecipientPills::selected() const
{
    QList<Address> chosen;
    for (const RecipientPill &pill : m_pills)
        if (pill.selected)
            chosen.append(pill.address);
    return chosen;
}

int RecipientPills::at(const QPoint &point) const
{
    for (int i = 0; i < count(); ++i)
        if (m_pills[i].place.contains(point))
            return i;
    return -1;
}

int RecipientPills::gapAt(const QPoint &point) const
{
    for (int i = 0; i < count(); ++i) {
        const QRect &place = m_pills[i].place;
        if (point.y() < place.top() || (point.y() <= place.bottom() && point.x() < place.center().x()))
            return i;
    }
    return count();
}

QString RecipientPills::text() const
{
    QList<Address> all;
    for (const RecipientPill &pill : m_pills)
        all.append(pill.address);
    return textOfAddresses(all);
}
