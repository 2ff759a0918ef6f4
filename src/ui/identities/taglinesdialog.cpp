#include "ui/identities/taglinesdialog.h"

#include "identity/signatures.h"
#include "ui/look/dialogfooter.h"
#include "ui/look/metrics.h"
#include "ui/look/recolour.h"
#include "ui/look/velmarstyle.h"
#include "ui/texts/harmless.h"

#include <QLabel>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QShortcut>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

constexpr int kListWidth = 56; ///< characters
constexpr int kListLines = 10;
constexpr int kTextLines = 4;
constexpr int kTextRole = Qt::UserRole; ///< the whole tagline

void setTagline(QListWidgetItem *item, const QString &text)
{
    item->setData(kTextRole, text);
    const QString line = harmlessLine(text.simplified());
    item->setText(line.isEmpty() ? TaglinesDialog::tr("(empty)") : line);
}

} // namespace

TaglinesDialog::TaglinesDialog(int identity, QWidget *parent)
    : QDialog(parent)
    , m_identity(identity)
    , m_list(new QListWidget)
    , m_text(new QPlainTextEdit)
    , m_remove(new QPushButton(tr("&Delete")))
    , m_footer(new DialogFooter(tr("&Save")))
{
    setObjectName(u"taglinesDialog"_s);
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(tr("Taglines"));
    build();
    for (const QString &tagline : readTaglines(identity)) {
        auto *item = new QListWidgetItem(m_list);
        setTagline(item, tagline);
    }
    connect(m_list, &QListWidget::currentRowChanged, this, &TaglinesDialog::showCurrent);
    connect(m_text, &QPlainTextEdit::textChanged, this, &TaglinesDialog::take);
    connect(m_remove, &QPushButton::clicked, this, &TaglinesDialog::removeCurrent);
    connect(m_footer, &DialogFooter::accepted, this, &TaglinesDialog::save);
    connect(m_footer, &DialogFooter::rejected, this, &QDialog::reject);
    m_list->setCurrentRow(0);
    showCurrent();
    m_list->setFocus();
}

void TaglinesDialog::build()
{
    auto *title = new QLabel(windowTitle());
    setFontScale(title, scale::dialog, QFont::DemiBold);
    auto *hint = new QLabel(tr("One of them, by chance, stands at the end of each message."));
    setTextRole(hint, Role::Text2);
    m_list->setObjectName(u"list"_s);
    m_list->setAccessibleName(windowTitle());
    m_list->setMinimumSize(columnWidth(kListWidth), kListLines * textHeight());
    m_list->setUniformItemSizes(true);
    auto *label = new QLabel(tr("&Text of the chosen one"));
    setTextRole(label, Role::Text2);
    label->setBuddy(m_text);
    m_text->setObjectName(u"text"_s);
    m_text->setAccessibleName(tr("Text of the chosen one"));
    m_text->setTabChangesFocus(true);
    m_text->setFixedHeight(kTextLines * textHeight() + 2 * space::between);
    auto *add = new QPushButton(tr("&New"));
    add->setObjectName(u"new"_s);
    add->setAutoDefault(false);
    connect(add, &QPushButton::clicked, this, &TaglinesDialog::add);
    m_remove->setObjectName(u"delete"_s);
    m_remove->setAutoDefault(false);
    setButtonKind(m_remove, ButtonKind::Dangerous);
    connect(new QShortcut(QKeySequence::Delete, m_list, nullptr, nullptr, Qt::WidgetShortcut),
            &QShortcut::activated, this, &TaglinesDialog::removeCurrent);
    auto *buttons = new QVBoxLayout;
    buttons->setSpacing(space::between);
    buttons->addWidget(add);
    buttons->addWidget(m_remove);
    buttons->addStretch(1);
    auto *parts = new QHBoxLayout;
    parts->setSpacing(space::group);
    parts->addWidget(m_list, 1);
    parts->addLayout(buttons);
    auto *page = new QVBoxLayout;
    page->setContentsMargins(space::dialog, space::dialog, space::dialog, space::card);
    page->setSpacing(space::group);
    page->addWidget(title);
    page->addWidget(hint);
    page->addLayout(parts, 1);
    page->addWidget(label);
    page->addWidget(m_text);
    m_footer->defaultButton()->setObjectName(u"ok"_s);
    auto *all = new QVBoxLayout(this);
    all->setContentsMargins(0, 0, 0, 0);
    all->setSpacing(0);
    all->addLayout(page, 1);
    all->addWidget(m_footer);
}

QStringList TaglinesDialog::taglines() const
{
    QStringList all;
    for (int row = 0; row < m_list->count(); ++row) {
        const QString text = m_list->item(row)->data(kTextRole).toString();
        if (!text.trimmed().isEmpty())
            all.append(text);
    }
    return all;
}

void TaglinesDialog::add()
{
    auto *item = new QListWidgetItem(m_list);
    setTagline(item, {});
    m_list->setCurrentItem(item);
    m_text->setFocus();
}

void TaglinesDialog::removeCurrent()
{
    delete m_list->currentItem();
    showCurrent();
}

void TaglinesDialog::showCurrent()
{
    const QListWidgetItem *item = m_list->currentItem();
    m_isShowing = true;
    m_text->setPlainText(item ? item->data(kTextRole).toString() : QString());
    m_isShowing = false;
    m_text->setEnabled(item);
    m_remove->setEnabled(item);
}

void TaglinesDialog::take()
{
    if (QListWidgetItem *item = m_list->currentItem(); item && !m_isShowing)
        setTagline(item, m_text->toPlainText());
}

void TaglinesDialog::save()
{
    if (writeTaglines(m_identity, taglines()))
        accept();
}
