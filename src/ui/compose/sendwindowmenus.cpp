#include "compose/charsets.h"
#include "compose/editing.h"
#include "compose/messagebuilder.h"
#include "config/settings.h"
#include "identity/signatures.h"
#include "identity/templates.h"
#include "ui/actions/commandpalette.h"
#include "ui/actions/keyhelp.h"
#include "ui/compose/composeattachments.h"
#include "ui/compose/composeeditor.h"
#include "ui/compose/composeheader.h"
#include "ui/compose/extrafields.h"
#include "ui/compose/plaineditor.h"
#include "ui/compose/replacebar.h"
#include "ui/compose/richeditor.h"
#include "ui/compose/sendwindow.h"
#include "ui/look/askingbar.h"
#include "ui/look/linedbar.h"

#include <QActionGroup>
#include <QApplication>
#include <QComboBox>
#include <QMenu>
#include <QMenuBar>
#include <QToolBar>
#include <QToolButton>

using namespace Qt::StringLiterals;

// The menus of the compose window, and what its actions and panes lead to.

namespace {

constexpr std::pair<ComposeAct, ComposeHeader::Field> kFieldActs[] = {
    {ComposeAct::ShowTo, ComposeHeader::Field::To},
    {ComposeAct::ShowCc, ComposeHeader::Field::Cc},
    {ComposeAct::ShowBcc, ComposeHeader::Field::Bcc},
    {ComposeAct::ShowReplyTo, ComposeHeader::Field::ReplyTo},
    {ComposeAct::ShowFollowupTo, ComposeHeader::Field::FollowupTo},
    {ComposeAct::ShowDistribution, ComposeHeader::Field::Distribution},
};

constexpr int kUndoDelays[] = {0, 5, 10, 30, 60}; ///< seconds

struct WarningRow
{
    SendProblem problem;
    const char *text;
};
#define TEXT(words) QT_TRANSLATE_NOOP("SendWindow", words)
constexpr WarningRow kWarnings[] = {
    {SendProblem::AttachmentForgotten, TEXT("A &forgotten attachment")},
    {SendProblem::NoSubject, TEXT("No &subject")},
    {SendProblem::NoContent, TEXT("No &content")},
    {SendProblem::Unmodified, TEXT("An &unchanged reply")},
    {SendProblem::OnlyQuoted, TEXT("Only &quoted text")},
    {SendProblem::ManyRecipients, TEXT("&Many who see each other's addresses")},
    {SendProblem::NewAddress, TEXT("A &new address")},
    {SendProblem::NotSubscribed, TEXT("&Groups that are not subscribed to")},
    {SendProblem::BinariesToTextGroup, TEXT("&Binaries to a group for texts")},
};
#undef TEXT

} // namespace

void SendWindow::createMenus()
{
    const auto menu = [this](const QString &title, ComposeAct first, ComposeAct last) {
        QMenu *made = menuBar()->addMenu(title);
        m_actions.addTo(made, first, last);
        return made;
    };
    menu(tr("&Message"), ComposeAct::Send, ComposeAct::Close);
    menu(tr("&Edit"), ComposeAct::Undo, ComposeAct::Replace);
    menu(tr("&View"), ComposeAct::ShowTo, ComposeAct::PreviousPane);
    menu(tr("&Insert"), ComposeAct::InsertFile, ComposeAct::InsertTemplate);
    menu(tr("F&ormat"), ComposeAct::Rich, ComposeAct::Numbered);
    menu(tr("O&ptions"), ComposeAct::ImportanceHigh, ComposeAct::Warnings);
    menu(tr("&Help"), ComposeAct::Palette, ComposeAct::Keys);
    const auto under = [this](ComposeAct act, void (SendWindow::*fill)(QMenu *)) {
        auto *below = new QMenu(this);
        m_actions[act]->setMenu(below);
        connect(below, &QMenu::aboutToShow, this, [this, below, fill] {
            below->clear();
            (this->*fill)(below);
        });
    };
    under(ComposeAct::InsertSignature, &SendWindow::fillSignatures);
    under(ComposeAct::InsertTemplate, &SendWindow::fillTemplates);
    under(ComposeAct::Charset, &SendWindow::fillCharsets);
    under(ComposeAct::FileForm, &SendWindow::fillFileForms);
    under(ComposeAct::UndoDelay, &SendWindow::fillUndoDelays);
    under(ComposeAct::Warnings, &SendWindow::fillWarnings);
    if (auto *button =
            qobject_cast<QToolButton *>(m_mainBar->widgetForAction(m_actions[ComposeAct::InsertTemplate])))
        button->setPopupMode(QToolButton::InstantPopup);
    m_palette = new CommandPalette(m_registry);
}

void SendWindow::fillCharsets(QMenu *menu)
{
    auto *group = new QActionGroup(menu);
    for (const QByteArray &charset : offeredCharsets()) {
        QAction *action = menu->addAction(QString::fromLatin1(charset));
        action->setCheckable(true);
        action->setChecked(charset == m_rest.charset);
        group->addAction(action);
        connect(action, &QAction::triggered, this, [this, charset] {
            m_rest.charset = charset;
            m_rest.charsetForced = false; // what does not fit this one is asked about again
            changed();
        });
    }
}

/// How the attachments of this message go, whatever the settings say.
void SendWindow::fillFileForms(QMenu *menu)
{
    constexpr std::pair<AttachmentForm, const char *> kForms[] = {
        {AttachmentForm::Mime, QT_TR_NOOP("&MIME")},
        {AttachmentForm::Uuencode, QT_TR_NOOP("&uuencode, within the text")},
        {AttachmentForm::Yenc, QT_TR_NOOP("&yEnc, within the text")},
    };
    auto *group = new QActionGroup(menu);
    for (const auto &[form, text] : kForms) {
        const bool isUsual = form == preferredAttachmentForm(m_isArticle);
        QAction *action = menu->addAction(isUsual ? tr("%1 (as in the settings)").arg(tr(text)) : tr(text));
        action->setCheckable(true);
        // only a plain text can hold files
        action->setEnabled(form == AttachmentForm::Mime || !m_editor->isRich());
        action->setChecked(form == (m_editor->isRich() ? AttachmentForm::Mime : m_rest.attachmentForm));
        group->addAction(action);
        connect(action, &QAction::triggered, this, [this, form = form] {
            m_rest.attachmentForm = form;
            changed();
        });
    }
}

void SendWindow::fillSignatures(QMenu *menu)
{
    const bool isThere = findSignature(m_editor->plainForm(), m_signatureEnd).start >= 0;
    const QString current = isThere ? m_signature : QString();
    auto *group = new QActionGroup(menu);
    const auto add = [&](const QString &text, const QString &name) {
        QAction *action = menu->addAction(text, this, [this, name] { takeSignature(name); });
        action->setCheckable(true);
        action->setChecked(name == current);
        group->addAction(action);
    };
    add(tr("None"), {});
    menu->addSeparator();
    for (const QString &name : signatureNames(m_header->identity()))
        add(QString(name).replace(u'&', u"&&"_s), name);
}

void SendWindow::fillTemplates(QMenu *menu)
{
    menu->addAction(tr("None"))->setEnabled(false);
    const QStringList names = templateNames();
    if (names.isEmpty())
        menu->addAction(tr("No templates defined"))->setEnabled(false);
    for (const QString &name : names)
        menu->addAction(QString(name).replace(u'&', u"&&"_s), this, [this, name] { takeTemplate(name); });
}

/// How long a message can be taken back; it holds for all that are sent from now on.
void SendWindow::fillUndoDelays(QMenu *menu)
{
    auto *group = new QActionGroup(menu);
    QList<int> delays(std::begin(kUndoDelays), std::end(kUndoDelays));
    if (!delays.contains(Outbox::undoDelay()))
        delays.append(Outbox::undoDelay());
    for (const int delay : std::as_const(delays)) {
        QAction *action = menu->addAction(delay == 0 ? tr("Off") : tr("%1 seconds").arg(delay));
        action->setCheckable(true);
        action->setChecked(delay == Outbox::undoDelay());
        group->addAction(action);
        connect(action, &QAction::triggered, this, [this, delay] {
            Outbox::setUndoDelay(delay);
            updateStatus();
        });
    }
}

/// What "Don't ask me this again" has turned off is turned on again here.
void SendWindow::fillWarnings(QMenu *menu)
{
    for (const auto &[problem, text] : kWarnings) {
        QAction *action = menu->addAction(tr(text));
        action->setCheckable(true);
        action->setChecked(!isTurnedOff(problem));
        connect(action, &QAction::triggered, this, [problem = problem](bool on) { turnOff(problem, !on); });
    }
}

void SendWindow::connectActions()
{
    const auto on = [this](ComposeAct act, auto then) {
        connect(m_actions[act], &QAction::triggered, this, then);
    };
    on(ComposeAct::Send, [this] { send(0); });
    on(ComposeAct::SendLater, [this] { sendLater(); });
    on(ComposeAct::SaveDraft, [this] { saveDraft(); });
    on(ComposeAct::History, [this] { showHistory(); });
    on(ComposeAct::Attach, [this] { askForFiles(); });
    on(ComposeAct::Discard, [this] { askBeforeDiscarding(); });
    on(ComposeAct::Close, [this] { close(); });
    on(ComposeAct::Undo, [this] { m_editor->undo(); });
    on(ComposeAct::Redo, [this] { m_editor->redo(); });
    on(ComposeAct::Cut, [this] { m_editor->cut(); });
    on(ComposeAct::Copy, [this] { m_editor->copy(); });
    on(ComposeAct::Paste, [this] { m_editor->paste(); });
    on(ComposeAct::PastePlain, [this] { m_editor->pastePlain(); });
    on(ComposeAct::PasteQuoted, [this] { m_editor->pasteAsQuotation(); });
    on(ComposeAct::SelectAll, [this] { m_editor->selectAll(); });
    on(ComposeAct::Rewrap, [this] { m_editor->rewrap(); });
    on(ComposeAct::QuoteMore, [this] { m_editor->plain()->changeQuoteDepth(1); });
    on(ComposeAct::QuoteLess, [this] { m_editor->plain()->changeQuoteDepth(-1); });
    on(ComposeAct::Find, [this] { find(false, true); });
    on(ComposeAct::FindNext, [this] { find(false, false); });
    on(ComposeAct::FindPrevious, [this] { find(true, false); });
    on(ComposeAct::Replace, [this] { m_replace->open(); });
    on(ComposeAct::MoreFields, [this](bool shown) { showMoreFields(shown); });
    on(ComposeAct::NextPane, [this] { focusNextPane(1); });
    on(ComposeAct::PreviousPane, [this] { focusNextPane(-1); });
    on(ComposeAct::InsertFile, [this] { insertFile(); });
    on(ComposeAct::InsertPicture, [this] { insertPicture(); });
    on(ComposeAct::Palette, [this] { m_palette->open(); });
    on(ComposeAct::Keys, [this] { showKeyHelp(m_registry); });
    for (const auto &[act, field] : kFieldActs) {
        connect(m_actions[act], &QAction::triggered, this,
                [this, field = field](bool shown) { m_header->setShown(field, shown); });
        m_actions[act]->setChecked(m_header->isShown(field));
    }
    connect(m_header, &ComposeHeader::shownChanged, this, [this](ComposeHeader::Field field, bool shown) {
        for (const auto &[act, each] : kFieldActs)
            if (each == field)
                m_actions[act]->setChecked(shown);
    });
    for (const ComposeAct act : {ComposeAct::ImportanceHigh, ComposeAct::ImportanceLow, ComposeAct::Receipt,
                                 ComposeAct::RefuseArchive, ComposeAct::Wrap})
        connect(m_actions[act], &QAction::triggered, this, &SendWindow::changed);
    on(ComposeAct::ImportanceHigh, [this] { m_actions[ComposeAct::ImportanceLow]->setChecked(false); });
    on(ComposeAct::ImportanceLow, [this] { m_actions[ComposeAct::ImportanceHigh]->setChecked(false); });
}

void SendWindow::connectFormat()
{
    RichEditor *editor = m_editor->rich();
    const auto on = [this](ComposeAct act, auto then) {
        connect(m_actions[act], &QAction::triggered, this, then);
    };
    on(ComposeAct::Rich, [this](bool rich) { setRich(rich); });
    on(ComposeAct::Bold, [editor](bool on) { editor->setBold(on); });
    on(ComposeAct::Italic, [editor](bool on) { editor->setItalic(on); });
    on(ComposeAct::Underline, [editor](bool on) { editor->setUnderline(on); });
    on(ComposeAct::Bullets, [editor](bool on) { editor->setList(on, false); });
    on(ComposeAct::Numbered, [editor](bool on) { editor->setList(on, true); });
    on(ComposeAct::AlignLeft, [editor] { editor->setAlignment(Qt::AlignLeading); });
    on(ComposeAct::AlignCentre, [editor] { editor->setAlignment(Qt::AlignHCenter); });
    on(ComposeAct::AlignRight, [editor] { editor->setAlignment(Qt::AlignRight); });
    on(ComposeAct::Justify, [editor] { editor->setAlignment(Qt::AlignJustify); });
    on(ComposeAct::Colour, [this] { chooseColour(); });
    connect(m_style, &QComboBox::activated, this, [this, editor] {
        editor->setBlockStyle(m_style->currentData().toInt());
        editor->setFocus();
    });
    connect(m_form, &QComboBox::activated, this, [this](int index) { setRich(index == 1); });
    connect(editor, &RichEditor::formatChanged, this, &SendWindow::updateFormat);
}

void SendWindow::showMoreFields(bool shown)
{
    setBoolSetting(Setting::EditHeaders, shown);
    m_header->setExtraShown(shown);
    m_actions[ComposeAct::MoreFields]->setChecked(m_header->extraIsShown());
}

/// Round through what is shown: bar, fields, format, warnings, text, attachments.
void SendWindow::focusNextPane(int direction)
{
    QList<QWidget *> panes;
    for (QWidget *pane : {static_cast<QWidget *>(m_mainBar), static_cast<QWidget *>(m_header),
                          static_cast<QWidget *>(m_formatBar), static_cast<QWidget *>(m_bar),
                          static_cast<QWidget *>(m_editor), static_cast<QWidget *>(m_attachments)})
        if (pane->isVisible())
            panes.append(pane);
    const QWidget *focus = QApplication::focusWidget();
    const auto holds = [focus](const QWidget *pane) { return pane == focus || pane->isAncestorOf(focus); };
    const auto at = focus ? std::find_if(panes.begin(), panes.end(), holds) : panes.end();
    const auto from = at == panes.end() ? (direction > 0 ? -1 : 0) : at - panes.begin();
    const auto count = panes.size();
    focusPane(panes[(from + direction + count) % count]);
}

/// The place in it where one goes on: where the focus was last, else the first that takes it.
void SendWindow::focusPane(QWidget *pane)
{
    if (pane == m_editor)
        return m_editor->current()->setFocus(Qt::TabFocusReason);
    for (QWidget *next = pane->nextInFocusChain(); next != pane; next = next->nextInFocusChain())
        if (pane->isAncestorOf(next) && next->isVisible() && next->isEnabled() &&
            (next->focusPolicy() & Qt::TabFocus) == Qt::TabFocus)
            return next->setFocus(Qt::TabFocusReason);
}
