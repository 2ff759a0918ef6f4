#include "cli/output.h"

#include "config/reporter.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <cstdio>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kWidestColumn = 60;
constexpr int kBarWidth = 24;

QString padded(const QString &text, qsizetype width, bool right)
{
    return right ? text.rightJustified(width) : text.leftJustified(width);
}

/// Text of several lines in which nothing is left that a terminal would obey.
QString harmless(const QString &text)
{
    QStringList lines = text.split(u'\n');
    for (QString &line : lines) {
        if (line.endsWith(u'\r'))
            line.chop(1);
        QStringList cells = line.split(u'\t');
        for (QString &cell : cells)
            cell = onOneLine(cell);
        line = cells.join(u'\t');
    }
    return lines.join(u'\n');
}

/// JSON lets the control characters behind ASCII stand as they are; some terminals obey them.
QByteArray withEscapedControls(const QByteArray &json)
{
    QByteArray escaped;
    escaped.reserve(json.size());
    for (qsizetype i = 0; i < json.size(); ++i) {
        const bool isPair = uchar(json[i]) == 0xc2 && i + 1 < json.size() && uchar(json[i + 1]) < 0xa0;
        if (isPair || json[i] == '\x7f')
            escaped += "\\u00" + QByteArray::number(uchar(json[isPair ? ++i : i]), 16);
        else
            escaped += json[i];
    }
    return escaped;
}

} // namespace

Row &Row::add(const char *name, const QJsonValue &value)
{
    m_fields.emplace_back(name, value);
    return *this;
}

QJsonObject Row::toJson() const
{
    QJsonObject object;
    for (const auto &[name, value] : m_fields)
        object.insert(QLatin1String(name), value);
    return object;
}

Output::Output(Options options)
    : m_options(options)
    , m_terminal(::isatty(STDERR_FILENO) == 1)
{}

void Output::row(const Row &row)
{
    if (!m_options.json) {
        m_table.push_back(row);
        return;
    }
    put(withEscapedControls(QJsonDocument(row.toJson()).toJson(QJsonDocument::Compact)) + '\n');
}

void Output::endTable()
{
    endRows();
    m_hasHead = false;
}

void Output::endRows()
{
    if (m_table.empty()) {
        m_good = std::fflush(stdout) == 0 && m_good;
        return;
    }
    const auto &columns = m_table.front().fields();
    std::vector<qsizetype> widths;
    std::vector<std::vector<QString>> cells(m_table.size());
    for (const auto &column : columns)
        widths.push_back(qsizetype(qstrlen(column.first)));
    for (std::size_t i = 0; i < m_table.size(); ++i) {
        for (std::size_t c = 0; c < columns.size(); ++c) {
            cells[i].push_back(shownValue(m_table[i].fields()[c].second).left(kWidestColumn));
            widths[c] = qMax(widths[c], cells[i].back().size());
        }
    }
    const auto line = [&](const auto &cellOf) {
        QString text;
        for (std::size_t c = 0; c < columns.size(); ++c)
            text += padded(cellOf(c), widths[c], columns[c].second.isDouble()) + u"  "_s;
        while (text.endsWith(u' '))
            text.chop(1);
        put((text + u'\n').toUtf8());
    };
    if (!std::exchange(m_hasHead, true))
        line([&](std::size_t c) { return QString::fromLatin1(columns[c].first); });
    for (const auto &row : cells)
        line([&](std::size_t c) { return row[c]; });
    m_table.clear();
    m_good = std::fflush(stdout) == 0 && m_good;
}

void Output::text(const QString &text)
{
    put(harmless(text).toUtf8());
}

void Output::bytes(const QByteArray &bytes)
{
    if (::isatty(STDOUT_FILENO) == 1)
        text(QString::fromUtf8(bytes));
    else
        put(bytes);
}

void Output::complain(const QString &text)
{
    endProgress();
    std::fprintf(stderr, "velmar-cli: %s\n", qUtf8Printable(onOneLine(text)));
}

void Output::progress(const QString &title, qint64 done, qint64 total)
{
    if (!m_terminal || m_progressHeld || m_options.quiet || m_options.json)
        return;
    QString line = u"\r%1 "_s.arg(onOneLine(title));
    if (total > 0) {
        const int filled = int(std::clamp<qint64>(done * kBarWidth / total, 0, kBarWidth));
        line += u'[' + QString(filled, u'#') + QString(kBarWidth - filled, u'.') +
                u"] %1%"_s.arg(qMin<qint64>(100, done * 100 / total), 3);
    }
    std::fprintf(stderr, "%s\x1b[K", qUtf8Printable(line));
    m_progressShown = true;
}

void Output::endProgress()
{
    if (m_progressShown)
        std::fprintf(stderr, "\r\x1b[K");
    m_progressShown = false;
}

void Output::holdProgress(bool held)
{
    if (held)
        endProgress();
    m_progressHeld = held;
}

bool Output::finish()
{
    endTable();
    endProgress();
    return std::fflush(stdout) == 0 && m_good;
}

void Output::put(const QByteArray &bytes)
{
    endProgress();
    m_good =
        std::fwrite(bytes.constData(), 1, std::size_t(bytes.size()), stdout) == std::size_t(bytes.size()) &&
        m_good;
}

QString shownValue(const QJsonValue &value)
{
    switch (value.type()) {
    case QJsonValue::Bool: return value.toBool() ? u"yes"_s : u"-"_s;
    case QJsonValue::Double:
        return QString::number(value.toDouble(), 'f', value.toDouble() == double(value.toInteger()) ? 0 : 2);
    case QJsonValue::Array: {
        QStringList texts;
        const QJsonArray array = value.toArray();
        for (const QJsonValue &item : array)
            texts += shownValue(item);
        return texts.join(u", "_s);
    }
    case QJsonValue::Object: {
        const QString name = value[u"name"].toString();
        const QString address = value[u"address"].toString();
        return onOneLine(name.isEmpty() ? address : u"%1 <%2>"_s.arg(name, address));
    }
    case QJsonValue::String: return onOneLine(value.toString());
    default: return u"-"_s;
    }
}
