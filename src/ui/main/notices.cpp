#include "ui/main/notices.h"

#include "config/clock.h"
#include "ui/look/dialogfooter.h"
#include "ui/look/emptystate.h"
#include "ui/look/icons.h"
#include "ui/look/metrics.h"
#include "ui/texts/harmless.h"
#include "ui/texts/messagetexts.h"

#include <QClipboard>
#include <QDialog>
#include <QGuiApplication>
#include <QListView>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr std::size_t kMost = 200;
constexpr int kWidth = 80; ///< characters
constexpr int kRows = 14;

QIcon signOf(ReportLevel level)
{
    switch (level) {
    case ReportLevel::Critical: return icon(u"error"_s, Role::Error);
    case ReportLevel::Warning: return icon(u"warning"_s, Role::Warning);
    case ReportLevel::Information: break;
    }
    return icon(u"info"_s, Role::Information);
}

} // namespace

void Notices::add(ReportLevel level, const QString &text)
{
    put({level, text, clockNow()});
}

void Notices::addTrouble(int account, const QString &text, const QString &boxed)
{
    Notice notice{ReportLevel::Warning, text, clockNow(), account};
    take([&](const Notice &earlier) {
        const bool isItsOwn = earlier.account == account;
        notice.isSeen = notice.isSeen || (isItsOwn && earlier.isSeen && earlier.text == text);
        return isItsOwn || (earlier.account == 0 && earlier.text.simplified() == boxed);
    });
    put(notice);
}

void Notices::endTrouble(int account)
{
    if (take([account](const Notice &notice) { return notice.account == account; }))
        emit unseenChanged();
}

void Notices::put(const Notice &notice)
{
    beginInsertRows({}, 0, 0);
    m_notices.push_front(notice);
    endInsertRows();
    if (m_notices.size() > kMost) {
        beginRemoveRows({}, int(kMost), int(kMost));
        m_notices.pop_back();
        endRemoveRows();
    }
    emit unseenChanged();
}

/// Takes those out that are meant. Whether there were any.
bool Notices::take(const std::function<bool(const Notice &)> &isMeant)
{
    const std::size_t before = m_notices.size();
    for (int row = int(before) - 1; row >= 0; --row) {
        if (!isMeant(m_notices[std::size_t(row)]))
            continue;
        beginRemoveRows({}, row, row);
        m_notices.erase(m_notices.begin() + row);
        endRemoveRows();
    }
    return m_notices.size() < before;
}

int Notices::unseen() const
{
    return int(std::count_if(m_notices.begin(), m_notices.end(),
                             [](const Notice &notice) { return !notice.isSeen; }));
}

ReportLevel Notices::gravest() const
{
    ReportLevel gravest = ReportLevel::Information;
    for (const Notice &notice : m_notices) {
        if (!notice.isSeen)
            gravest = std::max(gravest, notice.level);
    }
    return gravest;
}

int Notices::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_notices.size());
}

QVariant Notices::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= rowCount())
        return {};
    const Notice &notice = m_notices[std::size_t(index.row())];
    switch (role) {
    case Qt::DisplayRole:
        return u"%1   %2"_s.arg(shortDate(notice.time.toSecsSinceEpoch()), notice.text.simplified());
    case Qt::ToolTipRole: return asToolTip(notice.text);
    case Qt::DecorationRole: return signOf(notice.level);
    default: return {};
    }
}

QString Notices::asText() const
{
    QStringList lines;
    for (const Notice &notice : m_notices)
        lines.append(u"%1  %2"_s.arg(notice.time.toString(Qt::ISODate), notice.text));
    return lines.join(u'\n') + u'\n';
}

void Notices::clear()
{
    beginResetModel();
    m_notices.clear();
    endResetModel();
    emit unseenChanged();
}

QDialog *Notices::showList(QWidget *window)
{
    for (Notice &notice : m_notices)
        notice.isSeen = true;
    emit unseenChanged();
    auto *dialog = new QDialog(window);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setObjectName(u"notices"_s);
    dialog->setWindowTitle(tr("Errors and notices"));
    auto *list = new QListView;
    list->setAccessibleName(tr("Errors and notices"));
    list->setModel(this);
    list->setWordWrap(true);
    list->setTextElideMode(Qt::ElideNone);
    list->setMinimumSize(columnWidth(kWidth), kRows * rowHeight(RowKind::List));
    auto *empty = new EmptyState;
    empty->setTexts(tr("Nothing to tell"), tr("Errors and notices of this run stand here."));
    empty->setMinimumSize(list->minimumSize());
    auto *footer = new DialogFooter(tr("Close"));
    footer->cancelButton()->hide();
    QPushButton *copy = footer->addSecondary(tr("Copy all"));
    QPushButton *clear = footer->addButton(tr("Clear"));
    auto *page = new QVBoxLayout;
    page->setContentsMargins(space::dialog, space::dialog, space::dialog, space::card);
    page->addWidget(list);
    page->addWidget(empty);
    auto *all = new QVBoxLayout(dialog);
    all->setContentsMargins(0, 0, 0, 0);
    all->setSpacing(0);
    all->addLayout(page, 1);
    all->addWidget(footer);
    connect(copy, &QPushButton::clicked, this, [this] { QGuiApplication::clipboard()->setText(asText()); });
    connect(clear, &QPushButton::clicked, this, &Notices::clear);
    connect(footer, &DialogFooter::accepted, dialog, &QDialog::accept);
    const auto showWhatThereIs = [this, list, empty, copy, clear] {
        list->setVisible(!m_notices.empty());
        empty->setVisible(m_notices.empty());
        copy->setEnabled(!m_notices.empty());
        clear->setEnabled(!m_notices.empty());
    };
    connect(this, &Notices::unseenChanged, dialog, showWhatThereIs);
    showWhatThereIs();
    dialog->open();
    (m_notices.empty() ? static_cast<QWidget *>(footer->defaultButton()) : list)->setFocus();
    return dialog;
}
