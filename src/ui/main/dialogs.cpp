#include "ui/main/dialogs.h"

#include "store/groupstore.h"
#include "ui/look/colours.h"
#include "ui/look/dialogfooter.h"
#include "ui/look/icons.h"
#include "ui/look/metrics.h"
#include "ui/look/recolour.h"
#include "ui/look/searchfield.h"
#include "ui/look/toolbuttons.h"
#include "ui/tree/grouptreemodel.h"

#include <QDialog>
#include <QFileDialog>
#include <QFileInfo>
#include <QFormLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QToolButton>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr int kListWidth = 56; ///< characters
constexpr int kListRows = 12;  //

/// Title, contents, a line for what is wrong, footer.
class SmallDialog : public QDialog
{
public:
    SmallDialog(QWidget *parent, const QString &title, const QString &verb)
        : QDialog(parent)
        , m_contents(new QVBoxLayout)
        , m_problem(new QLabel)
        , m_footer(new DialogFooter(verb))
    {
        setAttribute(Qt::WA_DeleteOnClose);
        setWindowTitle(u"Velmar"_s);
        auto *head = new QLabel(title);
        head->setTextFormat(Qt::PlainText);
        setFontScale(head, scale::subject, QFont::DemiBold);
        setTextRole(m_problem, Role::Error);
        m_problem->setWordWrap(true);
        m_problem->hide();
        auto *page = new QVBoxLayout;
        page->setContentsMargins(space::dialog, space::dialog, space::dialog, space::card);
        page->setSpacing(space::group);
        page->addWidget(head);
        page->addLayout(m_contents, 1);
        page->addWidget(m_problem);
        auto *all = new QVBoxLayout(this);
        all->setContentsMargins(0, 0, 0, 0);
        all->setSpacing(0);
        all->addLayout(page, 1);
        all->addWidget(m_footer);
        connect(m_footer, &DialogFooter::accepted, this, &QDialog::accept);
        connect(m_footer, &DialogFooter::rejected, this, &QDialog::reject);
    }

    QVBoxLayout *contents() const { return m_contents; }
    DialogFooter *footer() const { return m_footer; }

    void setProblem(const QString &problem)
    {
        m_problem->setText(problem);
        m_problem->setVisible(!problem.isEmpty());
        m_footer->defaultButton()->setEnabled(problem.isEmpty());
    }

private:
    QVBoxLayout *m_contents;
    QLabel *m_problem;
    DialogFooter *m_footer;
};

/// The keys that move in the list while the field has the focus.
class ListKeys : public QObject
{
public:
    ListKeys(QLineEdit *field, QListWidget *list)
        : QObject(field)
        , m_list(list)
    {
        field->installEventFilter(this);
    }

    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() != QEvent::KeyPress)
            return false;
        const int key = static_cast<QKeyEvent *>(event)->key();
        if (key != Qt::Key_Down && key != Qt::Key_Up)
            return false;
        move(key == Qt::Key_Down ? 1 : -1);
        return true;
    }

    void move(int step)
    {
        for (int row = m_list->currentRow() + step; row >= 0 && row < m_list->count(); row += step) {
            if (!m_list->item(row)->isHidden())
                return m_list->setCurrentRow(row);
        }
    }

private:
    QListWidget *m_list;
};

QListWidget *newList(const QString &name)
{
    auto *list = new QListWidget;
    list->setAccessibleName(name);
    list->setMinimumSize(columnWidth(kListWidth), kListRows * rowHeight(RowKind::List));
    list->setUniformItemSizes(true);
    return list;
}

/// Hides what does not hold every word of @p text; the first that is left is current.
void narrow(QListWidget *list, const QString &text)
{
    const QStringList words = text.split(u' ', Qt::SkipEmptyParts);
    list->setCurrentRow(-1);
    for (int row = 0; row < list->count(); ++row) {
        QListWidgetItem *item = list->item(row);
        const bool fits = std::all_of(words.begin(), words.end(), [item](const QString &word) {
            return item->text().contains(word, Qt::CaseInsensitive);
        });
        item->setHidden(!fits);
        if (fits && list->currentRow() < 0)
            list->setCurrentRow(row);
    }
}

QLineEdit *addField(QFormLayout *form, const QString &label, const QString &name)
{
    auto *field = new QLineEdit;
    field->setObjectName(name);
    field->setMinimumWidth(columnWidth(kListWidth) / 2);
    form->addRow(label, field);
    return field;
}

} // namespace

QDialog *askName(QWidget *parent, const NameRequest &request, std::function<void(const QString &)> done)
{
    auto *dialog = new SmallDialog(parent, request.title, request.verb);
    dialog->setObjectName(u"nameDialog"_s);
    auto *form = new QFormLayout;
    QLineEdit *field = addField(form, request.label, u"name"_s);
    dialog->contents()->addLayout(form);
    const auto check = [dialog, field, request] {
        const QString text = field->text().trimmed();
        dialog->setProblem(text.isEmpty() ? QString() : request.check(text));
        if (text.isEmpty())
            dialog->footer()->defaultButton()->setEnabled(false);
    };
    QObject::connect(field, &QLineEdit::textChanged, dialog, check);
    field->setText(request.text);
    field->selectAll();
    check();
    QObject::connect(dialog, &QDialog::accepted, parent,
                     [field, done = std::move(done)] { done(field->text().trimmed()); });
    dialog->open();
    field->setFocus();
    return dialog;
}

QDialog *askGroup(QWidget *parent, const GroupStore &store, const GroupRequest &request,
                  std::function<void(int)> done)
{
    auto *dialog = new SmallDialog(parent, request.title, request.verb);
    dialog->setObjectName(u"groupDialog"_s);
    auto *field = new SearchField(u"search"_s, u"Name of the group"_s);
    field->setObjectName(u"filter"_s);
    QListWidget *list = newList(u"Groups"_s);
    for (Group *group : store.groups()) {
        if (group->number() == request.except)
            continue;
        auto *item = new QListWidgetItem(icon(GroupTreeModel::iconOf(*group)), store.pathOf(*group), list);
        item->setData(Qt::UserRole, group->number());
    }
    dialog->contents()->addWidget(field);
    dialog->contents()->addWidget(list, 1);
    new ListKeys(field, list);
    const auto refresh = [dialog, list] {
        dialog->footer()->defaultButton()->setEnabled(list->currentRow() >= 0);
    };
    QObject::connect(field, &QLineEdit::textChanged, list, [list, refresh](const QString &text) {
        narrow(list, text);
        refresh();
    });
    QObject::connect(field, &SearchField::left, dialog, &QDialog::reject);
    QObject::connect(list, &QListWidget::currentRowChanged, dialog, refresh);
    QObject::connect(list, &QListWidget::itemActivated, dialog, &QDialog::accept);
    narrow(list, {});
    QObject::connect(dialog, &QDialog::accepted, parent, [list, done = std::move(done)] {
        if (const QListWidgetItem *item = list->currentItem())
            done(item->data(Qt::UserRole).toInt());
    });
    dialog->open();
    field->setFocus();
    return dialog;
}

QDialog *askMailboxFile(QWidget *parent, std::function<QString(const QString &)> check,
                        std::function<void(const QString &, const QString &)> done)
{
    auto *dialog = new SmallDialog(parent, u"Add a mailbox file"_s, u"Add"_s);
    dialog->setObjectName(u"mailboxDialog"_s);
    auto *words = new QLabel(u"Velmar takes the mail out of this file each time it looks for new mail."_s);
    words->setWordWrap(true);
    setTextRole(words, Role::Text2);
    auto *form = new QFormLayout;
    QLineEdit *name = addField(form, u"&Name"_s, u"name"_s);
    auto *line = new QHBoxLayout;
    auto *path = new QLineEdit;
    path->setObjectName(u"path"_s);
    path->setMinimumWidth(columnWidth(kListWidth) / 2);
    auto *choose = newToolButton(u"folder"_s, u"Choose a file"_s, dialog);
    line->addWidget(path, 1);
    line->addWidget(choose);
    form->addRow(u"&File"_s, line);
    if (auto *label = qobject_cast<QLabel *>(form->labelForField(line)))
        label->setBuddy(path);
    dialog->contents()->addWidget(words);
    dialog->contents()->addLayout(form);
    const auto refresh = [dialog, name, path, check = std::move(check)] {
        const QString text = name->text().trimmed();
        dialog->setProblem(text.isEmpty() ? QString() : check(text));
        if (text.isEmpty() || path->text().trimmed().isEmpty())
            dialog->footer()->defaultButton()->setEnabled(false);
    };
    QObject::connect(name, &QLineEdit::textChanged, dialog, refresh);
    QObject::connect(path, &QLineEdit::textChanged, dialog, refresh);
    QObject::connect(choose, &QToolButton::clicked, dialog, [dialog, path, name] {
        auto *files = new QFileDialog(dialog, u"Mailbox file"_s);
        files->setAttribute(Qt::WA_DeleteOnClose);
        files->setFileMode(QFileDialog::AnyFile);
        QObject::connect(files, &QFileDialog::fileSelected, path, [path, name](const QString &file) {
            path->setText(file);
            if (name->text().isEmpty())
                name->setText(QFileInfo(file).fileName());
        });
        files->open();
    });
    refresh();
    QObject::connect(dialog, &QDialog::accepted, parent, [name, path, done = std::move(done)] {
        done(name->text().trimmed(), path->text().trimmed());
    });
    dialog->open();
    name->setFocus();
    return dialog;
}

QDialog *askChoice(QWidget *parent, const QString &title, const QString &verb, const QStringList &choices,
                   std::function<void(int)> done)
{
    auto *dialog = new SmallDialog(parent, title, verb);
    QListWidget *list = newList(title);
    list->addItems(choices);
    list->setCurrentRow(0);
    dialog->contents()->addWidget(list, 1);
    QObject::connect(list, &QListWidget::itemActivated, dialog, &QDialog::accept);
    QObject::connect(dialog, &QDialog::accepted, parent,
                     [list, done = std::move(done)] { done(list->currentRow()); });
    dialog->open();
    list->setFocus();
    return dialog;
}

QDialog *showKeys(QWidget *parent, const QList<std::pair<QString, QString>> &keys)
{
    auto *dialog = new SmallDialog(parent, u"Keys"_s, u"Close"_s);
    dialog->footer()->cancelButton()->hide();
    auto *list = new QTreeWidget;
    list->setAccessibleName(u"Keys"_s);
    list->setHeaderLabels({u"What it does"_s, u"Key"_s});
    list->setRootIsDecorated(false);
    list->setMinimumSize(columnWidth(kListWidth), 2 * kListRows * rowHeight(RowKind::List));
    for (const auto &[name, key] : keys)
        new QTreeWidgetItem(list, {name, key});
    list->header()->setSectionResizeMode(0, QHeaderView::Stretch);
    list->header()->setStretchLastSection(false);
    list->header()->setSectionResizeMode(1, QHeaderView::ResizeToContents);
    dialog->contents()->addWidget(list, 1);
    dialog->open();
    list->setFocus();
    return dialog;
}
