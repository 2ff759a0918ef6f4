#include "ui/options/optionswindow.h"

#include "config/settings.h"
#include "ui/look/askingbar.h"
#include "ui/look/dialogfooter.h"
#include "ui/look/hairline.h"
#include "ui/look/metrics.h"
#include "ui/look/recolour.h"
#include "ui/look/searchfield.h"
#include "ui/options/hits.h"
#include "ui/options/optioncontrol.h"
#include "ui/options/optionform.h"
#include "ui/options/pagelist.h"

#include <QKeyEvent>
#include <QLabel>
#include <QLocale>
#include <QPushButton>
#include <QScrollArea>
#include <QShortcut>
#include <QStackedWidget>
#include <QVBoxLayout>

#include <numeric>

using namespace Qt::StringLiterals;

namespace {

constexpr int kWidth = 134; ///< characters
constexpr int kHeight = 46; ///< lines
constexpr int kLeastHeight = 16;

QScrollArea *areaFor(OptionForm *form)
{
    auto *area = new QScrollArea;
    area->setFrameShape(QFrame::NoFrame);
    area->setWidgetResizable(true);
    area->setFocusPolicy(Qt::NoFocus);
    area->setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    setSurface(area->viewport(), Role::Base);
    area->setWidget(form);
    return area;
}

OptionsWindow *openWindow(QWidget *parent)
{
    for (OptionsWindow *open : parent->findChildren<OptionsWindow *>()) {
        if (open->isVisible())
            return open;
    }
    return new OptionsWindow(parent);
}

OptionsWindow *raised(OptionsWindow *window)
{
    window->show();
    window->raise();
    window->activateWindow();
    return window;
}

} // namespace

OptionsWindow *openOptions(QWidget *parent)
{
    return raised(openWindow(parent));
}

OptionsWindow *openOptions(QWidget *parent, OptionPage page)
{
    OptionsWindow *window = openWindow(parent);
    window->showPage(page);
    return raised(window);
}

OptionsWindow::OptionsWindow(QWidget *parent)
    : QDialog(parent)
    , m_search(new SearchField(u"search"_s, tr("Find a setting")))
    , m_pages(new PageList)
    , m_nothing(new QLabel(tr("Nothing matches")))
    , m_title(new QLabel)
    , m_bar(new AskingBar)
    , m_forms(new QStackedWidget)
    , m_footer(new DialogFooter(tr("OK")))
    , m_apply(m_footer->addButton(tr("Apply")))
    , m_restore(m_footer->addSecondary(tr("Restore defaults")))
{
    setAttribute(Qt::WA_DeleteOnClose);
    setObjectName(u"options"_s);
    setWindowTitle(tr("Options"));
    createPages();
    auto *panes = new QHBoxLayout;
    panes->setSpacing(0);
    panes->addWidget(newSidebar());
    panes->addWidget(new HairLine(Qt::Vertical));
    panes->addWidget(newPane(), 1);
    auto *all = new QVBoxLayout(this);
    all->setContentsMargins(0, 0, 0, 0);
    all->setSpacing(0);
    all->addLayout(panes, 1);
    all->addWidget(m_footer);
    setMinimumHeight(kLeastHeight * textHeight());
    resize(columnWidth(kWidth), kHeight * textHeight());
    connectAll();
    showPage(OptionPage::Writing);
    m_search->setFocus();
}

void OptionsWindow::createPages()
{
    int labels = 0;
    int width = 0;
    QList<OptionForm *> forms;
    for (int i = 0; i < kOptionPageCount; ++i) {
        auto *form = new OptionForm(OptionPage(i));
        labels = std::max(labels, form->labelWidth());
        m_forms->addWidget(areaFor(form));
        forms.append(form);
        connect(form, &OptionForm::changed, this, &OptionsWindow::changed);
    }
    for (OptionForm *each : std::as_const(forms)) {
        each->setLabelWidth(labels);
        width = std::max(width, each->minimumSizeHint().width());
    }
    m_forms->setMinimumWidth(width + style()->pixelMetric(QStyle::PM_ScrollBarExtent));
}

QWidget *OptionsWindow::newSidebar()
{
    auto *side = new QWidget;
    setSurface(side, Role::Sidebar);
    m_search->setObjectName(u"search"_s);
    m_search->setKeyHint(QKeySequence::Find);
    m_search->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed); // the pages settle the width
    m_nothing->setObjectName(u"nothing"_s);
    m_nothing->setContentsMargins(space::card + space::inner, 0, space::group, space::between);
    m_nothing->hide();
    setTextRole(m_nothing, Role::Text3);
    auto *field = new QVBoxLayout;
    field->setContentsMargins(space::group, space::group, space::group, space::between);
    field->addWidget(m_search);
    auto *layout = new QVBoxLayout(side);
    layout->setContentsMargins(0, 0, 0, space::between);
    layout->setSpacing(0);
    layout->addLayout(field);
    layout->addWidget(m_nothing);
    layout->addWidget(m_pages, 1);
    return side;
}

QWidget *OptionsWindow::newPane()
{
    auto *pane = new QWidget;
    setSurface(pane, Role::Base);
    m_title->setObjectName(u"title"_s);
    m_title->setContentsMargins(space::page, space::dialog, space::page, space::group);
    setFontScale(m_title, scale::dialog, QFont::DemiBold);
    m_bar->setObjectName(u"bar"_s);
    auto *layout = new QVBoxLayout(pane);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_bar);
    layout->addWidget(m_title);
    layout->addWidget(m_forms, 1);
    return pane;
}

void OptionsWindow::connectAll()
{
    m_apply->setObjectName(u"apply"_s);
    m_restore->setObjectName(u"restore"_s);
    m_footer->defaultButton()->setObjectName(u"ok"_s);
    connect(m_pages, &QListWidget::currentRowChanged, this, [this](int row) {
        m_forms->setCurrentIndex(row);
        m_title->setText(optionWords(rowOf(page()).title));
        m_bar->hide();
        changed();
    });
    connect(m_search, &QLineEdit::textChanged, this, &OptionsWindow::search);
    connect(m_search, &SearchField::left, this, &QDialog::reject);
    connect(m_apply, &QPushButton::clicked, this, [this] { apply(); });
    connect(m_restore, &QPushButton::clicked, this, &OptionsWindow::restoreDefaults);
    connect(m_footer, &DialogFooter::rejected, this, &QDialog::reject);
    connect(m_footer, &DialogFooter::accepted, this, [this] {
        if (apply())
            accept();
    });
    const auto onKey = [this](const QKeySequence &key, auto then) {
        connect(new QShortcut(key, this), &QShortcut::activated, this, then);
    };
    onKey(QKeySequence::Find, [this] {
        m_search->setFocus();
        m_search->selectAll();
    });
    onKey(QKeySequence(u"Ctrl+PgDown"_s), [this] { turnPage(1); });
    onKey(QKeySequence(u"Ctrl+PgUp"_s), [this] { turnPage(-1); });
}

void OptionsWindow::showPage(OptionPage page)
{
    m_pages->setPage(page);
    m_title->setText(optionWords(rowOf(page).title));
    changed();
}

OptionPage OptionsWindow::page() const
{
    return m_pages->page();
}

OptionForm *OptionsWindow::form() const
{
    return formAt(int(page()));
}

OptionForm *OptionsWindow::formAt(int index) const
{
    return static_cast<OptionForm *>(static_cast<QScrollArea *>(m_forms->widget(index))->widget());
}

void OptionsWindow::turnPage(int by)
{
    m_pages->setCurrentRow((m_pages->currentRow() + by + kOptionPageCount) % kOptionPageCount);
}

/// The page that is shown stays while something is found on it.
void OptionsWindow::search(const QString &typed)
{
    const QStringList words = wordsOf(typed);
    QList<int> hits;
    for (int i = 0; i < kOptionPageCount; ++i)
        hits.append(formAt(i)->setHits(words));
    m_nothing->setVisible(!words.isEmpty() && std::accumulate(hits.begin(), hits.end(), 0) == 0);
    if (words.isEmpty())
        return m_pages->clearHits();
    m_pages->setHits(hits);
    const auto first = std::find_if(hits.begin(), hits.end(), [](int count) { return count > 0; });
    if (hits.at(int(page())) == 0 && first != hits.end())
        m_pages->setCurrentRow(int(first - hits.begin()));
    if (OptionControl *hit = form()->firstHit())
        static_cast<QScrollArea *>(m_forms->currentWidget())->ensureWidgetVisible(hit);
}

/// From the field into the page: where something was found, or to its beginning.
void OptionsWindow::goToHit()
{
    if (OptionControl *hit = form()->firstHit())
        hit->field()->setFocus(Qt::TabFocusReason);
}

void OptionsWindow::keyPressEvent(QKeyEvent *event)
{
    const bool isEnter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (m_search->hasFocus() && !m_search->text().isEmpty() && isEnter)
        return goToHit();
    if (m_search->hasFocus() && event->key() == Qt::Key_Down)
        return m_pages->setFocus(Qt::TabFocusReason);
    QDialog::keyPressEvent(event);
}

/// What was changed elsewhere meanwhile is shown as it is now.
void OptionsWindow::changeEvent(QEvent *event)
{
    QDialog::changeEvent(event);
    if (event->type() != QEvent::ActivationChange || !isActiveWindow())
        return;
    for (int i = 0; i < kOptionPageCount; ++i)
        formAt(i)->load();
    changed();
}

bool OptionsWindow::apply()
{
    if (!hasChanges())
        return true;
    for (int i = 0; i < kOptionPageCount; ++i)
        formAt(i)->store();
    const bool isWritten = saveConfig(true);
    m_bar->hide();
    changed();
    emit applied();
    return isWritten;
}

void OptionsWindow::restoreDefaults()
{
    OptionForm *form = this->form();
    const OptionForm::Values before = form->showDefaults();
    const QString title = optionWords(rowOf(form->page()).title);
    const QString text =
        before.size() == 1
            ? tr("%1: one setting is back at its default.").arg(title)
            : tr("%1: %2 settings are back at their defaults.").arg(title, QLocale().toString(before.size()));
    m_bar->ask(MessageBar::Kind::Information, text, {tr("Undo"), [form, before] { form->show(before); }});
}

bool OptionsWindow::hasChanges() const
{
    for (int i = 0; i < kOptionPageCount; ++i) {
        if (formAt(i)->isChanged())
            return true;
    }
    return false;
}

void OptionsWindow::changed()
{
    m_apply->setEnabled(hasChanges());
    m_restore->setEnabled(!form()->hasDefaults());
}
