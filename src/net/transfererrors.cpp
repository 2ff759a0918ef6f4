#include "net/transfererrors.h"

#include "config/listtext.h"

using namespace Qt::StringLiterals;

namespace {

constexpr ListFileTexts kTexts = {"Unable to read transfer errors file",
                                  "Unable to write transfer errors file",
                                  "Unable to backup transfer errors file"};
constexpr qsizetype kFields = 6;

QString lineOf(const TransferError &error)
{
    return QStringList{QString::number(error.account),     QString::number(error.time),
                       QString::number(int(error.reason)), escapedText(error.accountName),
                       escapedText(error.detail),          escapedText(error.text)}
        .join(u'\t');
}

std::optional<TransferError> errorOf(const QString &line)
{
    const QStringList fields = line.split(u'\t');
    const int reason = fields.value(2).toInt();
    if (fields.size() < kFields || reason < 0 || reason >= int(kFetchReasons.size()))
        return {};
    TransferError error;
    error.account = fields[0].toInt();
    error.time = fields[1].toLongLong();
    error.reason = AccountFetchReason(reason);
    error.accountName = unescapedText(fields[3]);
    error.detail = unescapedText(fields[4]);
    error.text = unescapedText(fields[5]);
    return error;
}

} // namespace

TransferErrors::TransferErrors(QObject *parent)
    : QObject(parent)
    , m_file(u"Accounts/Errors"_s, kTexts)
{}

void TransferErrors::load()
{
    m_errors.clear();
    const QStringList lines = m_file.read().lines;
    const auto surplus = qMax(qsizetype(0), lines.size() - qsizetype(kMost));
    for (const QString &line : lines.sliced(surplus)) {
        if (const auto error = errorOf(line))
            m_errors.push_back(*error);
    }
}

bool TransferErrors::save()
{
    if (!m_changed)
        return true;
    QStringList lines;
    for (const TransferError &error : m_errors)
        lines += lineOf(error);
    m_changed = !m_file.write(lines);
    return !m_changed;
}

void TransferErrors::add(const TransferError &error)
{
    m_changed = true;
    if (m_errors.size() == kMost) {
        m_errors.pop_front();
        emit droppedOldest();
    }
    m_errors.push_back(error);
    emit added(error);
}

void TransferErrors::clear()
{
    if (m_errors.empty())
        return;
    m_changed = true;
    m_errors.clear();
    emit cleared();
}
