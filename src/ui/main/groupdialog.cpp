#include "ui/main/groupdialog.h"

#include "store/groupstore.h"
#include "ui/look/dialogfooter.h"
#include "ui/look/metrics.h"
#include "ui/look/searchfield.h"
#include "ui/look/smalldialog.h"
#include "ui/main/groupchoices.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QListView>
#include <QPushButton>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

constexpr int kListWidth = 60; ///< characters
constexpr int kListRows = 14;

QString tr(const char *text)
{
    return QCoreApplication::translate("GroupDialog", text);
}

/// The keys that move in the list while the field has the focus.
class ListKeys : public QObject
{
public:
    ListKeys(QLineEdit *field, QListView *list)
        : QObject(field)
        , m_list(list)
    {
        field->installEventFilter(this);
    }

    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() != QEvent::KeyPress)
            return false;
        switch (static_cast<QKeyEvent *>(event)->key()) {
        case Qt::Key_Down:
        case Qt::Key_Up:
        case Qt::Key_PageDown:
        case Qt::Key_PageUp: QCoreApplication::sendEvent(m_list, event); return true;
        default: return false;
        }
    }

private:
    QListView *m_list;
};

QListView *newList(GroupChoices *choices, QWidget *parent)
{
    auto *list = new QListView(parent);
    list->setObjectName(u"groups"_s);
    list->setAccessibleName(tr("Groups"));
    list->setModel(choices);
    list->setItemDelegate(new GroupChoiceDelegate(list));
    list->setUniformItemSizes(true);
    list->setEditTriggers(QAbstractItemView::NoEditTriggers);
    list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    list->setMinimumSize(columnWidth(kListWidth), kListRows * rowHeight(RowKind::List));
    return list;
}

} // namespace

bool takesMessages(const Group &group)
{
    return group.role() != GroupRole::Outbox;
}

QDialog *askGroup(QWidget *parent, const GroupStore &store, const GroupRequest &request,
                  std::function<void(int)> done)
{
    auto *dialog = new SmallDialog(parent, request.title, request.verb);
    dialog->setObjectName(u"groupDialog"_s);
    auto *field = new SearchField(u"search"_s, tr("Words of the name"));
    field->setObjectName(u"filter"_s);
    field->setAccessibleName(tr("Find a group"));
    field->setEscapeLeaves(true);
    const auto offers = [&request](const Group &group) {
        return group.number() != request.except && (!request.offers || request.offers(group));
    };
    auto *choices = new GroupChoices(store, offers, request.recent, request.top, dialog);
    QListView *list = newList(choices, dialog);
    dialog->contents()->addWidget(field);
    dialog->contents()->addWidget(list, 1);
    new ListKeys(field, list);
    const auto narrow = [dialog, list, choices](const QString &text) {
        choices->narrow(text);
        list->setCurrentIndex(choices->index(0));
        dialog->setProblem(choices->rowCount() > 0 ? QString() : tr("No group has these words in its name."));
    };
    QObject::connect(field, &QLineEdit::textChanged, dialog, narrow);
    QObject::connect(field, &SearchField::left, dialog, &QDialog::reject);
    QObject::connect(list, &QListView::doubleClicked, dialog, &QDialog::accept);
    QObject::connect(dialog, &QDialog::accepted, parent, [list, choices, done = std::move(done)] {
        if (list->currentIndex().isValid())
            done(choices->at(list->currentIndex().row()).number);
    });
    narrow({});
    dialog->open();
    field->setFocus();
    return dialog;
}
