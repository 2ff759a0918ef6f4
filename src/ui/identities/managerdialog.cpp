#include "ui/identities/managerdialog.h"

#include "ui/identities/managerdelegate.h"
#include "ui/look/askingbar.h"
#include "ui/look/dialogfooter.h"
#include "ui/look/emptystate.h"
#include "ui/look/metrics.h"
#include "ui/look/smalldialog.h"
#include "ui/look/velmarstyle.h"
#include "ui/texts/harmless.h"

#include <QLabel>
#include <QListView>
#include <QPushButton>
#include <QShortcut>
#include <QSignalBlocker>
#include <QStandardItemModel>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

constexpr int kListWidth = 64; ///< characters
constexpr int kRows = 6;
constexpr int kQuestionWidth = 64;

} // namespace

ManagerDialog::ManagerDialog(const QString &title, QWidget *parent)
    : QDialog(parent)
    , m_model(new QStandardItemModel(this))
    , m_list(new QListView)
    , m_empty(new EmptyState)
    , m_notice(new AskingBar)
    , m_buttons(new QVBoxLayout)
    , m_footer(new DialogFooter(tr("Close")))
{
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(title);
    build();
    connect(m_list->selectionModel(), &QItemSelectionModel::currentChanged, this, &ManagerDialog::showState);
    connect(m_empty, &EmptyState::buttonClicked, this, [this] { m_whenEmpty(); });
    connect(
        m_list, &QListView::activated, this,
        [this] {
            if (m_edit)
                m_edit->click();
        },
        Qt::QueuedConnection); // else the same Enter goes on to the editor's default button
}

void ManagerDialog::build()
{
    auto *title = new QLabel(windowTitle());
    title->setTextFormat(Qt::PlainText);
    setFontScale(title, scale::dialog, QFont::DemiBold);
    m_list->setObjectName(u"list"_s);
    m_list->setAccessibleName(windowTitle());
    m_list->setModel(m_model);
    m_list->setItemDelegate(new ManagerDelegate(m_list));
    m_list->setUniformItemSizes(true);
    m_list->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_list->setMinimumSize(columnWidth(kListWidth), kRows * rowHeight(RowKind::TwoLines));
    m_empty->setMinimumSize(m_list->minimumSize());
    auto *column = new QVBoxLayout;
    column->setSpacing(space::between);
    m_buttons->setSpacing(space::between);
    column->addLayout(m_buttons);
    column->addStretch(1);
    auto *parts = new QHBoxLayout;
    parts->setSpacing(space::group);
    parts->addWidget(m_list, 1);
    parts->addWidget(m_empty, 1);
    parts->addLayout(column);
    auto *page = new QVBoxLayout;
    page->setContentsMargins(space::dialog, space::dialog, space::dialog, space::card);
    page->setSpacing(space::group);
    page->addWidget(title);
    page->addWidget(m_notice);
    page->addLayout(parts, 1);
    m_footer->cancelButton()->hide();
    m_footer->defaultButton()->setDefault(false); // Enter in the list edits
    connect(m_footer, &DialogFooter::accepted, this, &QDialog::accept);
    auto *all = new QVBoxLayout(this);
    all->setContentsMargins(0, 0, 0, 0);
    all->setSpacing(0);
    all->addLayout(page, 1);
    all->addWidget(m_footer);
}

QPushButton *ManagerDialog::addButton(const QString &text, const char *name, Needs needs,
                                      std::function<void()> deed, const QKeySequence &key)
{
    auto *button = new QPushButton(text);
    button->setObjectName(QLatin1StringView(name));
    button->setAutoDefault(false);
    m_buttons->addWidget(button);
    if (needs == Needs::ARow)
        m_forOne.append(button);
    connect(button, &QPushButton::clicked, this, std::move(deed));
    if (!key.isEmpty()) {
        auto *shortcut = new QShortcut(key, m_list, nullptr, nullptr, Qt::WidgetShortcut);
        connect(shortcut, &QShortcut::activated, button, [button] { button->click(); });
    }
    return button;
}

void ManagerDialog::addUsualButtons(const Usual &usual)
{
    m_whenEmpty = usual.add;
    addButton(tr("&New…"), "new", Needs::Nothing, usual.add);
    m_edit = addButton(tr("&Edit…"), "edit", Needs::ARow, usual.edit);
    addButton(tr("&Copy…"), "copy", Needs::ARow, usual.copy);
    QPushButton *remove =
        addButton(tr("&Delete…"), "delete", Needs::ARow, usual.remove, QKeySequence::Delete);
    setButtonKind(remove, ButtonKind::Dangerous);
}

void ManagerDialog::addGap()
{
    m_buttons->addSpacing(space::group);
}

void ManagerDialog::setEmpty(const QString &title, const QString &sentence, const QString &button)
{
    m_empty->setTexts(title, sentence, button);
}

void ManagerDialog::setRows(const std::vector<ManagerRow> &rows)
{
    const QVariant key = currentKey();
    const int place = std::max(currentRow(), 0);
    {
        const QSignalBlocker quiet(m_list->selectionModel());
        m_model->clear();
        for (const ManagerRow &row : rows) {
            auto *item = new QStandardItem(harmlessLine(row.name));
            item->setData(row.key, ManagerKey);
            item->setData(row.icon, ManagerIcon);
            item->setData(harmlessLine(row.summary), ManagerSummary);
            item->setData(row.state, ManagerState);
            QStringList spoken{row.name, row.summary, row.state};
            spoken.removeAll(QString());
            item->setData(harmlessLine(spoken.join(u", "_s)), Qt::AccessibleTextRole);
            m_model->appendRow(item);
        }
    }
    m_list->setCurrentIndex(m_model->index(std::min(place, rowCount() - 1), 0));
    select(key);
    showState();
}

int ManagerDialog::currentRow() const
{
    return m_list->currentIndex().row();
}

QVariant ManagerDialog::currentKey() const
{
    return m_list->currentIndex().data(ManagerKey);
}

QString ManagerDialog::currentName() const
{
    return m_list->currentIndex().data(Qt::DisplayRole).toString();
}

int ManagerDialog::rowCount() const
{
    return m_model->rowCount();
}

void ManagerDialog::select(const QVariant &key)
{
    for (int row = 0; key.isValid() && row < rowCount(); ++row) {
        const QModelIndex index = m_model->index(row, 0);
        if (index.data(ManagerKey) == key)
            m_list->setCurrentIndex(index);
    }
}

void ManagerDialog::showState()
{
    const bool any = rowCount() > 0;
    const bool hadFocus = m_list->hasFocus();
    m_list->setVisible(any);
    m_empty->setVisible(!any);
    if (hadFocus && !any)
        m_empty->findChild<QPushButton *>()->setFocus();
    for (QPushButton *button : std::as_const(m_forOne))
        button->setEnabled(currentRow() >= 0);
}

void ManagerDialog::askBeforeDelete(const QString &title, const QString &loss, const QString &verb,
                                    std::function<void()> deed)
{
    auto *dialog = new SmallDialog(this, title, tr("Keep it"));
    dialog->setObjectName(u"deleteDialog"_s);
    auto *words = new QLabel(loss);
    words->setTextFormat(Qt::PlainText);
    words->setWordWrap(true);
    words->setMinimumWidth(columnWidth(kQuestionWidth));
    dialog->contents()->addWidget(words);
    dialog->footer()->cancelButton()->hide();
    QPushButton *remove = dialog->footer()->addDangerous(verb);
    remove->setObjectName(u"deleteIt"_s);
    connect(remove, &QPushButton::clicked, this, [dialog, deed = std::move(deed)] {
        dialog->accept();
        deed();
    });
    dialog->open();
    dialog->footer()->defaultButton()->setFocus();
}
