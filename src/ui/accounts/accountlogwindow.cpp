#include "ui/accounts/accountlogwindow.h"

#include "config/settings.h"
#include "net/account.h"
#include "ui/accounts/accountlogmodel.h"
#include "ui/look/askingbar.h"
#include "ui/look/emptystate.h"
#include "ui/look/fixedfont.h"
#include "ui/look/hairline.h"
#include "ui/look/icons.h"
#include "ui/look/metrics.h"
#include "ui/look/rows.h"
#include "ui/look/searchfield.h"
#include "ui/look/toolbuttons.h"

#include <QAction>
#include <QCheckBox>
#include <QClipboard>
#include <QGuiApplication>
#include <QHeaderView>
#include <QKeyEvent>
#include <QPainter>
#include <QScrollBar>
#include <QShortcut>
#include <QStyledItemDelegate>
#include <QTimer>
#include <QToolButton>
#include <QTreeView>
#include <QVBoxLayout>

#include <algorithm>
#include <chrono>
#include <numeric>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr int kWidth = 100;           ///< characters
constexpr int kHeight = 34;           ///< lines
constexpr int kMostInReport = 20'000; ///< lines, the newest
constexpr auto kBetweenLooks = 500ms;

bool isRefusal(const AccountLogLine &line)
{
    return line.direction == AccountLogLine::Direction::Received && line.text.startsWith(u"-ERR"_s);
}

Role roleOf(const AccountLogLine &line)
{
    if (isRefusal(line))
        return Role::Error;
    switch (line.direction) {
    case AccountLogLine::Direction::Sent: return Role::Link;
    case AccountLogLine::Direction::Received: return Role::Text;
    case AccountLogLine::Direction::None: break;
    }
    return Role::Text2;
}

QString arrowsOf(AccountLogLine::Direction direction)
{
    switch (direction) {
    case AccountLogLine::Direction::Sent: return u">>>> "_s;
    case AccountLogLine::Direction::Received: return u"<<<< "_s;
    case AccountLogLine::Direction::None: break;
    }
    return {};
}

/// A line in up to three colours. Protocols run from left to right whatever the window does.
class LogDelegate : public QStyledItemDelegate
{
public:
    LogDelegate(const AccountLogModel &model, QObject *parent)
        : QStyledItemDelegate(parent)
        , m_model(model)
    {}

    void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override
    {
        paintRowState(painter, option, option.widget);
        const AccountLogLine line = m_model.line(index.row());
        painter->save();
        painter->setFont(option.font);
        painter->setLayoutDirection(Qt::LeftToRight);
        QRect rest = option.rect.adjusted(space::group, 0, 0, 0);
        const auto write = [&](const QString &text, Role role) {
            painter->setPen(colour(role));
            painter->drawText(rest, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, text);
            rest.setLeft(rest.left() + option.fontMetrics.horizontalAdvance(text));
        };
        if (!line.time.isEmpty())
            write(line.time + u"  "_s, Role::Text3);
        write(arrowsOf(line.direction) + line.text, roleOf(line));
        painter->restore();
    }

    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &) const override
    {
        return {0, option.fontMetrics.height() + space::inner};
    }

private:
    const AccountLogModel &m_model;
};

} // namespace

AccountLogWindow::AccountLogWindow(Account &account, QWidget *parent)
    : QWidget(parent, Qt::Window)
    , m_account(&account)
    , m_model(new AccountLogModel(account.number(), this))
    , m_list(new QTreeView)
    , m_field(new SearchField(u"search"_s, tr("Find")))
    , m_anonymous(new QCheckBox(tr("&Without names of server and user")))
    , m_notice(new AskingBar)
    , m_empty(new EmptyState)
    , m_timer(new QTimer(this))
{
    setObjectName(u"accountLog"_s);
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(tr("Log for account '%1'").arg(account.name()));
    build();
    m_timer->setInterval(kBetweenLooks);
    connect(m_timer, &QTimer::timeout, this, &AccountLogWindow::refresh);
    connect(m_empty, &EmptyState::buttonClicked, this, [this] {
        setBoolSetting(Setting::EnableLogging, true, true);
        showState();
    });
    connect(m_model, &QAbstractItemModel::modelReset, this, &AccountLogWindow::showState);
    connect(m_model, &QAbstractItemModel::rowsInserted, this, &AccountLogWindow::showState);
    resize(columnWidth(kWidth), textHeight() * kHeight);
    refresh();
    showState();
    m_list->scrollToBottom();
    m_list->setFocus();
}

Account *AccountLogWindow::account() const
{
    return m_account;
}

void AccountLogWindow::build()
{
    m_list->setObjectName(u"lines"_s);
    m_list->setAccessibleName(tr("Log"));
    setFixedFont(m_list);
    m_list->setModel(m_model);
    m_list->setItemDelegate(new LogDelegate(*m_model, m_list));
    m_list->setFrameShape(QFrame::NoFrame);
    m_list->setHeaderHidden(true);
    m_list->header()->setStretchLastSection(false);
    m_list->setRootIsDecorated(false);
    m_list->setUniformRowHeights(true);
    m_list->setLayoutDirection(Qt::LeftToRight);
    m_list->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_list->setTabKeyNavigation(false);
    auto *all = new QVBoxLayout(this);
    all->setContentsMargins(0, 0, 0, 0);
    all->setSpacing(0);
    all->addWidget(newBar());
    all->addWidget(m_notice);
    all->addWidget(new HairLine(Qt::Horizontal, this));
    all->addWidget(m_list, 1);
    all->addWidget(m_empty, 1);
    const auto key = [this](const QKeySequence &keys, auto slot) {
        connect(new QShortcut(keys, this), &QShortcut::activated, this, slot);
    };
    key(QKeySequence::Find, [this] { m_field->setFocus(); });
    key(Qt::Key_F3, [this] { find(true); });
    key(Qt::SHIFT | Qt::Key_F3, [this] { find(false); });
    key(Qt::CTRL | Qt::Key_W, [this] { close(); });
    auto *copy = new QShortcut(QKeySequence::Copy, m_list, nullptr, nullptr, Qt::WidgetShortcut);
    connect(copy, &QShortcut::activated, this, &AccountLogWindow::copy);
}

QWidget *AccountLogWindow::newBar()
{
    auto *bar = new QWidget;
    auto *layout = new QHBoxLayout(bar);
    layout->setContentsMargins(space::between, space::between, space::between, space::between);
    layout->setSpacing(space::between);
    auto *report = new QAction(icon(u"copy"_s), tr("&Copy for a report"), this);
    report->setShortcut(Qt::CTRL | Qt::SHIFT | Qt::Key_C);
    addAction(report);
    connect(report, &QAction::triggered, this, &AccountLogWindow::copyReport);
    QToolButton *button = newToolButton(report, this, true);
    button->setObjectName(u"copyReport"_s);
    m_anonymous->setObjectName(u"anonymous"_s);
    m_anonymous->setChecked(true);
    m_field->setObjectName(u"find"_s);
    m_field->setAccessibleName(tr("Find"));
    m_field->setKeyHint(QKeySequence::Find);
    m_field->setMaximumWidth(columnWidth(kWidth / 3));
    layout->addWidget(button);
    layout->addWidget(m_anonymous);
    layout->addStretch(1);
    layout->addWidget(m_field, 1);
    connect(m_field, &QLineEdit::returnPressed, this, [this] { find(true); });
    connect(m_field, &SearchField::left, this, [this] { m_list->setFocus(); });
    return bar;
}

void AccountLogWindow::refresh()
{
    if (!m_account)
        return;
    const QScrollBar *bar = m_list->verticalScrollBar();
    const bool atEnd = bar->value() == bar->maximum();
    m_account->flushLog();
    const int before = m_model->rowCount();
    m_model->follow();
    if (atEnd && m_model->rowCount() != before)
        m_list->scrollToBottom(); // whoever looks at something earlier goes on looking
}

void AccountLogWindow::showState()
{
    const bool any = m_model->rowCount() > 0;
    const bool isLogging = boolSetting(Setting::EnableLogging);
    m_empty->setTexts(tr("No logs available"),
                      isLogging ? tr("What is said to the server from now on stands here.")
                                : tr("Velmar keeps no logs of accounts at the moment."),
                      isLogging ? QString() : tr("&Keep logs from now on"));
    m_list->setVisible(any);
    m_empty->setVisible(!any);
    measure();
}

void AccountLogWindow::measure()
{
    const QFontMetrics metrics(m_list->font());
    const int text = metrics.horizontalAdvance(u'0') * (m_model->longest() + 3) + 2 * space::group;
    m_list->setColumnWidth(0, std::max(text, m_list->viewport()->width()));
}

void AccountLogWindow::find(bool forward)
{
    const QString words = m_field->text();
    if (words.isEmpty())
        return m_field->setFocus();
    const int row = m_model->find(words, m_list->currentIndex().row(), forward);
    if (row < 0)
        return m_notice->tell(MessageBar::Kind::Information,
                              tr("“%1” does not occur in this log.").arg(words));
    m_notice->hide();
    const QModelIndex index = m_model->index(row);
    m_list->setCurrentIndex(index);
    m_list->scrollTo(index, QAbstractItemView::EnsureVisible);
}

QList<int> AccountLogWindow::selectedRows() const
{
    QList<int> rows;
    for (const QModelIndex &index : m_list->selectionModel()->selectedRows())
        rows.append(index.row());
    std::sort(rows.begin(), rows.end());
    return rows;
}

QString AccountLogWindow::textOf(const QList<int> &rows) const
{
    QStringList lines;
    lines.reserve(rows.size());
    for (const int row : rows)
        lines.append(m_model->text(row));
    return lines.join(u'\n') + u'\n';
}

void AccountLogWindow::copy()
{
    if (const QList<int> rows = selectedRows(); !rows.isEmpty())
        QGuiApplication::clipboard()->setText(textOf(rows));
}

/// Several lines when they are selected, else the newest there are.
void AccountLogWindow::copyReport()
{
    if (!m_account || m_model->rowCount() == 0)
        return;
    QList<int> rows = selectedRows();
    if (rows.size() < 2) {
        rows.resize(std::min(m_model->rowCount(), kMostInReport));
        std::iota(rows.begin(), rows.end(), m_model->rowCount() - int(rows.size()));
    }
    const AccountData &data = m_account->data();
    QString text = textOf(rows);
    if (m_anonymous->isChecked())
        text = anonymousLog(text, data);
    const QString head = u"Velmar, log of an account: %1, port %2, %3\n\n"_s.arg(
        QLatin1StringView(kAccountKinds[std::size_t(data.kind)].shown), QString::number(data.port),
        data.has(AccountTls)        ? u"TLS"_s
        : data.has(AccountStartTls) ? u"STARTTLS"_s
                                    : u"no encryption"_s);
    QGuiApplication::clipboard()->setText(head + text);
    m_notice->tell(MessageBar::Kind::Good, tr("%1 lines are on the clipboard.").arg(rows.size()));
}

void AccountLogWindow::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    m_timer->start();
    measure();
}

void AccountLogWindow::hideEvent(QHideEvent *event)
{
    m_timer->stop();
    QWidget::hideEvent(event);
}

void AccountLogWindow::keyPressEvent(QKeyEvent *event)
{
    if (event->key() != Qt::Key_Escape)
        return QWidget::keyPressEvent(event);
    close();
}

void AccountLogWindow::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange && m_list)
        measure();
}
