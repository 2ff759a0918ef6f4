#include "ui/transfers/fetchererrorlist.h"

#include "net/transfererrors.h"
#include "ui/look/dialogfooter.h"
#include "ui/look/emptystate.h"
#include "ui/look/metrics.h"
#include "ui/look/recolour.h"
#include "ui/look/smalldialog.h"
#include "ui/texts/harmless.h"
#include "ui/transfers/transfererrorsmodel.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QShortcut>
#include <QTreeView>
#include <QVBoxLayout>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr int kAccountWidth = 26; ///< characters
constexpr int kTimeWidth = 24;
constexpr int kErrorWidth = 84;
constexpr int kRows = 14;

QTreeView *newList(TransferErrorsModel *model)
{
    auto *list = new QTreeView;
    list->setObjectName(u"errors"_s);
    list->setAccessibleName(QCoreApplication::translate("FetcherErrorList", "Transfer Errors"));
    list->setModel(model);
    list->setRootIsDecorated(false);
    list->setUniformRowHeights(true);
    list->setAllColumnsShowFocus(false);
    list->setSelectionMode(QAbstractItemView::ExtendedSelection);
    list->setColumnWidth(TransferErrorsModel::AccountColumn, columnWidth(kAccountWidth));
    list->setColumnWidth(TransferErrorsModel::TimeColumn, columnWidth(kTimeWidth));
    list->setMinimumHeight(kRows * rowHeight(RowKind::List));
    list->setTabKeyNavigation(false);
    return list;
}

/// One error in full, with a way to the log.
QDialog *showError(QWidget *parent, const TransferError &error, std::function<void()> showLog)
{
    auto *dialog = new SmallDialog(parent, error.accountName, QObject::tr("Close"));
    dialog->setObjectName(u"error"_s);
    dialog->footer()->cancelButton()->hide();
    auto *time = new QLabel(errorTime(error));
    setTextRole(time, Role::Text2);
    auto *text = new QLabel(error.text);
    text->setObjectName(u"text"_s);
    text->setTextFormat(Qt::PlainText);
    text->setWordWrap(true);
    text->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    text->setMinimumWidth(columnWidth(kErrorWidth));
    dialog->contents()->addWidget(time);
    dialog->contents()->addWidget(text);
    QPushButton *log = dialog->footer()->addSecondary(QObject::tr("Show log"));
    log->setObjectName(u"showLog"_s);
    QObject::connect(log, &QPushButton::clicked, dialog, [dialog, showLog = std::move(showLog)] {
        dialog->accept();
        showLog();
    });
    dialog->open();
    dialog->footer()->defaultButton()->setFocus();
    return dialog;
}

} // namespace

FetcherErrorList::FetcherErrorList(TransferErrors &errors, QWidget *parent)
    : QDialog(parent)
    , m_errors(errors)
    , m_model(new TransferErrorsModel(errors, this))
    , m_list(newList(m_model))
    , m_empty(new EmptyState)
{
    setObjectName(u"fetcherErrorList"_s);
    setWindowTitle(tr("Transfer Errors"));
    m_empty->setTexts(tr("No errors"), tr("When a transfer fails, its account, time and error stand here."));
    auto *footer = new DialogFooter(tr("Close"));
    footer->cancelButton()->hide();
    m_copy = footer->addSecondary(tr("&Copy All"));
    m_copy->setObjectName(u"copyAll"_s);
    m_clear = footer->addButton(tr("C&lear All"));
    m_clear->setObjectName(u"clearAll"_s);
    auto *page = new QVBoxLayout;
    page->setContentsMargins(space::dialog, space::dialog, space::dialog, space::card);
    page->addWidget(m_list, 1);
    page->addWidget(m_empty, 1);
    auto *all = new QVBoxLayout(this);
    all->setContentsMargins(0, 0, 0, 0);
    all->setSpacing(0);
    all->addLayout(page, 1);
    all->addWidget(footer);
    connect(m_copy, &QPushButton::clicked, this, &FetcherErrorList::slotCopy);
    connect(m_clear, &QPushButton::clicked, this, &FetcherErrorList::slotClear);
    connect(m_list, &QTreeView::activated, this, &FetcherErrorList::slotDoubleClicked);
    connect(footer, &DialogFooter::accepted, this, &QDialog::accept);
    auto *copy = new QShortcut(QKeySequence::Copy, m_list, nullptr, nullptr, Qt::WidgetShortcut);
    connect(copy, &QShortcut::activated, this, &FetcherErrorList::copySelected);
    for (const auto signal : {&QAbstractItemModel::rowsInserted, &QAbstractItemModel::rowsRemoved})
        connect(m_model, signal, this, &FetcherErrorList::showState);
    connect(m_model, &QAbstractItemModel::modelReset, this, &FetcherErrorList::showState);
    resize(columnWidth(kAccountWidth + kTimeWidth + kErrorWidth), sizeHint().height());
    showState();
}

void FetcherErrorList::showState()
{
    const bool any = m_model->rowCount() > 0;
    m_list->setVisible(any);
    m_empty->setVisible(!any);
    m_clear->setEnabled(any);
    m_copy->setEnabled(any);
}

void FetcherErrorList::slotClear()
{
    m_errors.clear();
}

void FetcherErrorList::slotCopy()
{
    QGuiApplication::clipboard()->setText(m_model->asText());
}

void FetcherErrorList::copySelected()
{
    QList<int> rows;
    for (const QModelIndex &index : m_list->selectionModel()->selectedRows())
        rows.append(index.row());
    std::sort(rows.begin(), rows.end());
    if (!rows.isEmpty())
        QGuiApplication::clipboard()->setText(m_model->asText(rows));
}

void FetcherErrorList::slotDoubleClicked(const QModelIndex &index)
{
    if (!index.isValid())
        return;
    const TransferError &error = m_model->at(index.row());
    showError(this, error, [this, account = error.account] { emit logWanted(account); });
}
