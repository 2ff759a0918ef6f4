#include "ui/main/views.h"

using namespace Qt::StringLiterals;

namespace {

constexpr ListFileTexts kTexts = {"Unable to read views file", "Unable to write views file",
                                  "Unable to back up views file"};
constexpr int kWidest = 4000; ///< pixels; a file says no more

QList<int> numbersIn(QStringView text)
{
    QList<int> numbers;
    for (const QStringView word : text.split(u' ', Qt::SkipEmptyParts))
        numbers.append(word.toInt());
    return numbers;
}

QString joined(const QList<int> &numbers)
{
    QStringList words;
    for (const int number : numbers)
        words.append(QString::number(number));
    return words.join(u' ');
}

/// "sort column descending threads headings"; the last is missing where an older form wrote it
MessageSort sortIn(QStringView text)
{
    MessageSort sort;
    const QList<int> numbers = numbersIn(text);
    if (numbers.size() < 3 || numbers[0] < 0 || numbers[0] >= kMessageColumnCount)
        return sort;
    sort.column = MessageColumn(numbers[0]);
    sort.order = numbers[1] != 0 ? Qt::DescendingOrder : Qt::AscendingOrder;
    sort.threads = numbers[2] != 0;
    sort.headings = numbers.value(3, 1) != 0;
    return sort;
}

/// The columns as @p numbers say, each once; what they do not name stands behind.
std::array<int, kMessageColumnCount> orderIn(const QList<int> &numbers)
{
    QList<int> columns;
    const auto add = [&columns](int column) {
        if (column >= 0 && column < kMessageColumnCount && !columns.contains(column))
            columns.append(column);
    };
    for (const int column : numbers)
        add(column);
    for (int column = 0; column < kMessageColumnCount; ++column)
        add(column);
    std::array<int, kMessageColumnCount> order = {};
    std::copy(columns.begin(), columns.end(), order.begin());
    return order;
}

} // namespace

Views::Views()
    : m_file(u"Views"_s, kTexts)
{}

void Views::load()
{
    std::optional<int> group;
    for (const QString &line : m_file.read().lines)
        readLine(line, group);
    m_changed = false;
}

void Views::readLine(const QString &line, std::optional<int> &group)
{
    const qsizetype blank = line.indexOf(u' ');
    const QStringView key = QStringView(line).left(blank < 0 ? line.size() : blank);
    const QStringView value = blank < 0 ? QStringView() : QStringView(line).sliced(blank + 1);
    if (key == u"group") {
        group = value.toInt();
        m_groups.insert(*group, GroupView());
    } else if (group) {
        readGroupLine(m_groups[*group], key, value);
    } else {
        readWindowLine(key, value);
    }
}

void Views::readWindowLine(QStringView key, QStringView value)
{
    if (key == u"layout") {
        const auto name = std::find(kPaneLayoutNames.begin(), kPaneLayoutNames.end(), value.toLatin1());
        if (name != kPaneLayoutNames.end())
            m_layout = PaneLayout(name - kPaneLayoutNames.begin());
    } else if (key == u"letters") {
        m_singleKeysAct = value != u"0";
    } else if (key == u"collapsed") {
        m_collapsed = numbersIn(value);
    }
}

void Views::readGroupLine(GroupView &view, QStringView key, QStringView value)
{
    if (key == u"sort") {
        view.sort = sortIn(value);
        return;
    }
    const QList<int> numbers = numbersIn(value);
    if (key == u"order")
        view.order = orderIn(numbers);
    for (int i = 0; i < std::min(int(numbers.size()), kMessageColumnCount); ++i) {
        if (key == u"widths")
            view.widths[std::size_t(i)] = std::clamp(numbers[i], 0, kWidest);
        else if (key == u"shown")
            view.shown[std::size_t(i)] = numbers[i] != 0;
    }
    view.shown[std::size_t(MessageColumn::Subject)] = true;
}

QStringList Views::lines() const
{
    QStringList lines = {u"layout %1"_s.arg(QLatin1StringView(kPaneLayoutNames[std::size_t(m_layout)])),
                         u"letters %1"_s.arg(m_singleKeysAct ? 1 : 0),
                         u"collapsed %1"_s.arg(joined(m_collapsed))};
    QList<int> numbers = m_groups.keys();
    std::sort(numbers.begin(), numbers.end());
    for (const int number : numbers) {
        const GroupView view = m_groups.value(number);
        lines << u"group %1"_s.arg(number)
              << u"sort "_s + joined({int(view.sort.column), view.sort.order == Qt::DescendingOrder ? 1 : 0,
                                      view.sort.threads ? 1 : 0, view.sort.headings ? 1 : 0})
              << u"widths "_s + joined(QList<int>(view.widths.begin(), view.widths.end()))
              << u"shown "_s + joined(QList<int>(view.shown.begin(), view.shown.end()))
              << u"order "_s + joined(QList<int>(view.order.begin(), view.order.end()));
    }
    return lines;
}

bool Views::save()
{
    if (!m_changed)
        return true;
    m_changed = !m_file.write(lines());
    return !m_changed;
}

GroupView Views::group(int number) const
{
    return m_groups.value(number);
}

void Views::setGroup(int number, const GroupView &view)
{
    if (group(number) == view)
        return;
    m_groups.insert(number, view);
    m_changed = true;
}

void Views::forget(int number)
{
    m_changed = m_groups.remove(number) > 0 || m_changed;
}

void Views::setLayout(PaneLayout layout)
{
    m_changed = m_changed || layout != m_layout;
    m_layout = layout;
}

void Views::setSingleKeysAct(bool act)
{
    m_changed = m_changed || act != m_singleKeysAct;
    m_singleKeysAct = act;
}

void Views::setCollapsed(const QList<int> &groups)
{
    m_changed = m_changed || groups != m_collapsed;
    m_collapsed = groups;
}
