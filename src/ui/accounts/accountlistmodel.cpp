#include "ui/accounts/accountlistmodel.h"

#include "net/accountmanager.h"
#include "ui/accounts/accountfields.h"
#include "ui/look/colours.h"
#include "ui/look/icons.h"
#include "ui/look/metrics.h"
#include "ui/look/rows.h"
#include "ui/texts/harmless.h"
#include "ui/texts/messagetexts.h"
#include "ui/transfers/transferexplanation.h"
#include "ui/transfers/transfertexts.h"

#include <QDir>
#include <QPainter>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace {

constexpr std::array kEncryptionTexts = {
    QT_TRANSLATE_NOOP("AccountListModel", "not encrypted"),
    QT_TRANSLATE_NOOP("AccountListModel", "STARTTLS"),
    QT_TRANSLATE_NOOP("AccountListModel", "TLS"),
};

QString failureText(const Account &account)
{
    if (account.mark() != AccountMark::Failed || account.errors().empty())
        return account.markText();
    return withCapital(explainTransferError(account.errors().back(), account.data()).what);
}

/// Also of a failure that does not call any more, because the account was changed since.
QString outcomeText(const Account &account)
{
    const bool isOutgoing = account.kind() == AccountKind::Smtp;
    switch (account.outcome()) {
    case AccountFetchReason::None:
    case AccountFetchReason::Quiet:
        return isOutgoing ? AccountListModel::tr("Sent %1") : AccountListModel::tr("Fetched %1");
    case AccountFetchReason::Stopped: return AccountListModel::tr("Stopped %1");
    case AccountFetchReason::WithErrors:
        return isOutgoing ? AccountListModel::tr("Partly sent %1")
                          : AccountListModel::tr("Partly fetched %1");
    default: return AccountListModel::tr("Failed %1");
    }
}

} // namespace

AccountState stateOf(const Account &account)
{
    if (account.isFetching())
        return {harmlessLine(account.status()), false};
    if (account.data().has(AccountLeftOut))
        return {AccountListModel::tr("Paused"), false};
    if (account.mark() != AccountMark::None)
        return {harmlessLine(failureText(account).simplified()), true};
    if (account.lastFetch() > 0)
        return {outcomeText(account).arg(shortDate(account.lastFetch())), false};
    return {};
}

QString accountSummary(const Account &account)
{
    const AccountData &data = account.data();
    if (data.kind == AccountKind::BatchFile)
        return u"%1, %2"_s.arg(accountKindText(data.kind), harmlessLine(QDir::toNativeSeparators(data.host)));
    const char *encryption = kEncryptionTexts[std::size_t(encryptionOf(data))];
    return AccountListModel::tr("%1, %2, port %3, %4")
        .arg(accountKindText(data.kind), harmlessLine(data.host), QString::number(data.port),
             AccountListModel::tr(encryption));
}

AccountListModel::AccountListModel(AccountManager &accounts, QObject *parent)
    : QAbstractListModel(parent)
    , m_accounts(accounts)
{
    for (const auto &account : accounts.accounts())
        follow(account.get());
    connect(&accounts, &AccountManager::accountAdded, this, [this](Account *account) {
        beginResetModel();
        follow(account);
        endResetModel();
    });
    connect(&accounts, &AccountManager::accountDeleted, this, [this] {
        beginResetModel(); // out of the list already
        endResetModel();
    });
    connect(&accounts, &AccountManager::accountUpdated, this, &AccountListModel::changed);
    connect(&accounts, &AccountManager::markChanged, this, &AccountListModel::changed);
    connect(&accounts, &AccountManager::fetchStarted, this, &AccountListModel::changed);
    connect(&accounts, &AccountManager::fetchEnded, this, [this](Account *account) { changed(account); });
}

void AccountListModel::follow(Account *account)
{
    connect(account, &Account::statusChanged, this, [this, account] { changed(account); });
}

void AccountListModel::changed(const Account *account)
{
    const int row = rowOf(account->number());
    if (row >= 0)
        emit dataChanged(index(0), index(rowCount() - 1)); // it may have come from another row
}

Account *AccountListModel::at(int row) const
{
    const auto &all = m_accounts.accounts();
    return row >= 0 && std::size_t(row) < all.size() ? all[std::size_t(row)].get() : nullptr;
}

int AccountListModel::rowOf(int account) const
{
    const auto &all = m_accounts.accounts();
    const auto found = std::find_if(all.begin(), all.end(),
                                    [account](const auto &other) { return other->number() == account; });
    return found == all.end() ? -1 : int(found - all.begin());
}

int AccountListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_accounts.accounts().size());
}

QVariant AccountListModel::data(const QModelIndex &index, int role) const
{
    const Account *account = index.isValid() ? at(index.row()) : nullptr;
    if (!account)
        return {};
    const AccountState state = stateOf(*account);
    switch (role) {
    case Qt::DisplayRole: return harmlessLine(account->name());
    case Qt::ToolTipRole: return state.text.isEmpty() ? QVariant() : asToolTip(state.text);
    case Qt::AccessibleTextRole:
        return QStringList{account->name(), accountSummary(*account), state.text}.join(u", "_s);
    default: return {};
    }
}

AccountDelegate::AccountDelegate(const AccountListModel &model, QObject *parent)
    : QStyledItemDelegate(parent)
    , m_model(model)
{}

QSize AccountDelegate::sizeHint(const QStyleOptionViewItem &, const QModelIndex &) const
{
    return {0, rowHeight(RowKind::TwoLines)};
}

void AccountDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option,
                            const QModelIndex &index) const
{
    const Account *account = m_model.at(index.row());
    if (!account)
        return;
    painter->save();
    paintRowState(painter, option, option.widget);
    paintRowFocus(painter, option, option.widget);
    const QRect row = option.rect;
    const auto place = [&option, &row](const QRect &part) {
        return QStyle::visualRect(option.direction, row, part);
    };
    const int size = iconSize(IconUse::Bar);
    paintIcon(painter, place({row.x() + space::card, row.y(), size, row.height()}),
              accountIcon(account->kind()), colour(Role::Text2), option.direction);
    const int left = row.x() + space::card + size + space::group;
    const int width = row.right() - space::group - left;
    const int top = row.y() + (row.height() - 2 * textHeight() - space::inner) / 2;
    const auto write = [&](const QRect &part, const QFont &font, Role role, const QString &text,
                           Qt::Alignment side) {
        painter->setFont(font);
        painter->setPen(colour(role));
        painter->drawText(place(part),
                          int(QStyle::visualAlignment(option.direction, side)) | Qt::AlignVCenter,
                          QFontMetrics(font).elidedText(text, Qt::ElideRight, part.width()));
    };
    const AccountState state = stateOf(*account);
    const QFont small = fontScaled(scale::small);
    const int end = std::min(QFontMetrics(small).horizontalAdvance(state.text) + space::inner, width / 2);
    write({left, top, width - end - space::group, textHeight()}, fontScaled(1, QFont::DemiBold), Role::Text,
          harmlessLine(account->name()), Qt::AlignLeading);
    write({left + width - end, top, end, textHeight()}, small, state.isWrong ? Role::Error : Role::Text2,
          state.text, Qt::AlignTrailing);
    write({left, top + textHeight() + space::inner, width, textHeight()}, option.font, Role::Text2,
          accountSummary(*account), Qt::AlignLeading);
    painter->restore();
}
