#include "ui/accounts/accountlogmodel.h"

#include "net/accountdata.h"
#include "net/accountfiles.h"

#include <QFile>
#include <QRegularExpression>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 kMost = 64 * 1024 * 1024; ///< bytes that are looked at of one file

QByteArray readFrom(const QString &path, qint64 position)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly) || !file.seek(qMax(position, file.size() - kMost)))
        return {};
    return file.read(kMost);
}

/// Up to the last line end: the rest is still being written.
QByteArray wholeLines(const QByteArray &bytes)
{
    return bytes.first(bytes.lastIndexOf('\n') + 1);
}

} // namespace

AccountLogModel::AccountLogModel(int account, QObject *parent)
    : QAbstractListModel(parent)
    , m_path(accountFilePath(account, u"Log"_s))
{
    reload();
}

void AccountLogModel::reload()
{
    beginResetModel();
    m_bytes.clear();
    m_lower.clear();
    m_starts.clear();
    m_longest = 0;
    take(wholeLines(readFrom(m_path + u".old"_s, 0)));
    const QByteArray present = wholeLines(readFrom(m_path, 0));
    take(present);
    m_present = present.size();
    endResetModel();
}

void AccountLogModel::follow()
{
    const qint64 size = QFile(m_path).size();
    if (size < m_present)
        return reload();
    if (size == m_present)
        return;
    const QByteArray fresh = wholeLines(readFrom(m_path, m_present));
    const auto lines = int(fresh.count('\n'));
    if (lines == 0)
        return;
    beginInsertRows({}, rowCount(), rowCount() + lines - 1);
    take(fresh);
    m_present += fresh.size();
    endInsertRows();
}

void AccountLogModel::take(const QByteArray &bytes)
{
    const qsizetype begin = m_bytes.size();
    m_bytes += bytes;
    m_lower.clear();
    for (qsizetype at = begin; at < m_bytes.size();) {
        m_starts.push_back(at);
        const qsizetype end = m_bytes.indexOf('\n', at);
        m_longest = std::max(m_longest, int(end - at));
        at = end + 1;
    }
}

QString AccountLogModel::text(int row) const
{
    const qsizetype start = m_starts[std::size_t(row)];
    const qsizetype end = m_bytes.indexOf('\n', start);
    const QString whole = QString::fromUtf8(QByteArrayView(m_bytes).sliced(start, end - start));
    const AccountLogLine parts = accountLogLine(whole);
    if (parts.direction != AccountLogLine::Direction::Sent)
        return whole;
    const QString masked = withoutCredentials(u">>>> "_s + parts.text);
    return parts.time.isEmpty() ? masked : parts.time + u' ' + masked;
}

AccountLogLine AccountLogModel::line(int row) const
{
    return accountLogLine(text(row));
}

int AccountLogModel::rowAt(qsizetype position) const
{
    return int(std::upper_bound(m_starts.begin(), m_starts.end(), position) - m_starts.begin()) - 1;
}

int AccountLogModel::find(const QString &words, int from, bool forward) const
{
    const QByteArray needle = words.toUtf8().toLower();
    if (needle.isEmpty() || m_starts.empty())
        return -1;
    if (m_lower.isEmpty())
        m_lower = m_bytes.toLower();
    qsizetype found = -1;
    if (forward) {
        const bool isLast = from + 1 >= rowCount();
        found = isLast ? -1 : m_lower.indexOf(needle, m_starts[std::size_t(from + 1)]);
        if (found < 0)
            found = m_lower.indexOf(needle);
    } else {
        found = from <= 0 ? -1 : m_lower.lastIndexOf(needle, m_starts[std::size_t(from)] - needle.size());
        if (found < 0)
            found = m_lower.lastIndexOf(needle);
    }
    return found < 0 ? -1 : rowAt(found);
}

int AccountLogModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_starts.size());
}

QVariant AccountLogModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= rowCount())
        return {};
    if (role == Qt::DisplayRole || role == Qt::AccessibleTextRole)
        return text(index.row());
    return {};
}

QString anonymousLog(QString text, const AccountData &account)
{
    const auto replace = [&text](const QString &word, const QString &by) {
        if (word.size() < 2)
            return;
        const QRegularExpression whole(
            uR"((?<![\w.-]))"_s + QRegularExpression::escape(word) + uR"((?![\w-]))"_s,
            QRegularExpression::CaseInsensitiveOption | QRegularExpression::UseUnicodePropertiesOption);
        text.replace(whole, by);
    };
    replace(account.address, u"user@example.org"_s);
    replace(account.user, account.user.contains(u'@') ? u"user@example.org"_s : u"user"_s);
    replace(account.user.section(u'@', 0, 0), u"user"_s);
    replace(account.host, u"server.example.org"_s);
    replace(account.name, u"Account"_s);
    // what is left: the domain behind other names of the provider, other people, addresses of machines
    static const QRegularExpression address(uR"([\w.+-]+@[\w-]+(?:\.[\w-]+)+)"_s);
    text.replace(address, u"someone@example.org"_s);
    static const QRegularExpression machine(uR"((?<![\w.])\d{1,3}(?:\.\d{1,3}){3}(?![\w.]))"_s);
    text.replace(machine, u"192.0.2.1"_s);
    const QString domain = account.host.section(u'.', -2);
    if (domain.contains(u'.'))
        text.replace(domain, u"example.org"_s, Qt::CaseInsensitive);
    return text;
}
