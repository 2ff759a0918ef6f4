#include "ui/compose/sendwindow.h"

#include "config/settings.h"
#include "identity/identitymanager.h"
#include "ui/actions/commandpalette.h"
#include "ui/compose/composeattachments.h"
#include "ui/compose/composeeditor.h"
#include "ui/compose/composeheader.h"
#include "ui/compose/plaineditor.h"
#include "ui/compose/replacebar.h"
#include "ui/compose/richeditor.h"
#include "ui/look/askingbar.h"
#include "ui/look/colours.h"
#include "ui/look/elidedlabel.h"
#include "ui/look/hairline.h"
#include "ui/look/lettersbar.h"
#include "ui/look/linedbar.h"
#include "ui/look/metrics.h"
#include "ui/look/recolour.h"
#include "ui/look/toolbuttons.h"
#include "ui/look/velmarstyle.h"
#include "ui/reader/findbar.h"
#include "ui/texts/harmless.h"

#include <QApplication>
#include <QComboBox>
#include <QInputMethodEvent>
#include <QLabel>
#include <QStatusBar>
#include <QTextList>
#include <QToolBar>
#include <QToolButton>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

constexpr QSize kFirstSize(820, 680);
constexpr int kSmallestWidth = 640;
constexpr int kLongestTitle = 200; ///< UTF-16 units
constexpr int kLongestAddress = 60;
constexpr int kTypingPause = 2000;  ///< milliseconds without a key after which a version is kept
constexpr int kCountingPause = 300; ///< the same, before words are counted
constexpr int kBarTextsFrom = 70;   ///< average characters of width that the bar's texts need

struct Style
{
    const char *text;
    int heading;
};
#define TEXT(words) QT_TRANSLATE_NOOP("SendWindow", words)
constexpr Style kStyles[] = {{TEXT("Body text"), 0},
                             {TEXT("Large heading"), 1},
                             {TEXT("Heading"), 2},
                             {TEXT("Small heading"), 3},
                             {TEXT("Quotation"), -1}};
#undef TEXT

} // namespace

SendWindow::SendWindow(const ComposeServices &services, const Composer::Started &started, int draft)
    : m_services(services)
    , m_registry(this)
    , m_actions(m_registry)
    , m_context(started.context)
    , m_draft(draft)
    , m_isArticle(started.isArticle || started.composition.isNews())
    , m_header(new ComposeHeader)
    , m_bar(new AskingBar)
    , m_editor(new ComposeEditor)
    , m_attachments(new ComposeAttachments)
{
    setAttribute(Qt::WA_DeleteOnClose);
    setObjectName(u"sendWindow"_s);
    setAcceptDrops(true);
    setMinimumWidth(kSmallestWidth); // its height is what the parts need, with a large font more
    if (m_draft == 0)
        m_draft = m_services.drafts.begin(m_context);
    qApp->installEventFilter(this);
    createBars();
    createStatus();
    auto *page = new QWidget;
    auto *layout = new QVBoxLayout(page);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    m_findPlain = new FindBar(m_editor->plain(), page);
    m_findRich = new FindBar(m_editor->rich(), page);
    m_replace = new ReplaceBar(m_editor, page);
    for (QWidget *part : {static_cast<QWidget *>(new LinedBar(m_mainBar)), static_cast<QWidget *>(m_header),
                          static_cast<QWidget *>(m_formatBar)})
        layout->addWidget(part);
    auto *inset = new QWidget; // what is said stands on the page, as wide as the text; it hides with the bar
    setSurface(inset, Role::Base);
    auto *margins = new QVBoxLayout(inset);
    margins->setContentsMargins(space::card, space::between, space::card, 0);
    margins->addWidget(m_bar);
    inset->hide();
    layout->addWidget(inset);
    layout->addWidget(m_editor, 1);
    for (QWidget *part : {static_cast<QWidget *>(m_findPlain), static_cast<QWidget *>(m_findRich),
                          static_cast<QWidget *>(m_replace), static_cast<QWidget *>(m_attachments)})
        layout->addWidget(part);
    setCentralWidget(page);
    createMenus();
    connectActions();
    connectFormat();
    connectParts();
    m_typed.setSingleShot(true);
    m_typed.setInterval(kTypingPause);
    m_counting.setSingleShot(true);
    m_counting.setInterval(kCountingPause);
    if (const int seconds = intSetting(Setting::SendAutoSaveInterval); seconds > 0)
        m_interval.start(seconds * 1000);
    show(started.composition);
    const bool wantsRich = boolSetting(m_isArticle ? Setting::SendRichTextNews : Setting::SendRichTextMail);
    if (wantsRich && started.draft == 0 && draft == 0)
        m_editor->setRich(true); // a quotation of a plain text comes as such
    m_tagline = started.tagline;
    m_signatureEnd = started.signatureEnd;
    m_attribution = started.attribution;
    m_textAtFirst = m_editor->plainForm();
    if (started.signatureCommand.isEmpty())
        m_signature = started.signature;
    else
        runSignature(started.signature, started.signatureCommand);
    m_isChanged = false;
    m_isKept = true;
    updateStatus();
    const QRect stored = windowGeometry(Setting::WindowSizeSend);
    resize(stored.isValid() ? stored.size() : kFirstSize);
    const bool answers = m_context.deed == DraftContext::Deed::Reply;
    if (answers || !m_header->focusFirstEmpty()) {
        m_editor->placeCursor();
        m_editor->setFocus();
    }
}

SendWindow::~SendWindow() = default;

/// Keys belong to an input method while it has characters that are not settled.
bool SendWindow::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_bar && (event->type() == QEvent::ShowToParent || event->type() == QEvent::HideToParent))
        m_bar->parentWidget()->setVisible(!m_bar->isHidden());
    const auto *widget = event->type() == QEvent::InputMethod ? qobject_cast<QWidget *>(watched) : nullptr;
    if (widget && isAncestorOf(widget))
        m_isComposing = !static_cast<QInputMethodEvent *>(event)->preeditString().isEmpty();
    return false;
}

void SendWindow::comeForward()
{
    setWindowState(windowState() & ~Qt::WindowMinimized);
    QMainWindow::show();
    raise();
    activateWindow();
}

void SendWindow::createBars()
{
    m_mainBar = newToolBar(this);
    m_mainBar->setObjectName(u"composeBar"_s);
    fillFromLetters(m_mainBar, stringSetting(Setting::ToolbarSendMain), [this](char16_t letter) {
        QAction *action = m_actions.forLetter(letter, false);
        if (!action)
            return false;
        action->setIconText(plainName(action->text()));
        QToolButton *button = addToToolBar(m_mainBar, action, letter == u'S' || letter == u'A');
        if (letter == u'S')
            setButtonKind(button, ButtonKind::Accent);
        return true;
    });
    auto *format = newToolBar(this);
    format->setObjectName(u"formatBar"_s);
    m_style = new QComboBox;
    m_style->setFrame(false);
    auto *edge = new QWidget; // its words begin where the text does
    edge->setFixedWidth(space::between);
    format->addWidget(edge);
    m_style->setAccessibleName(tr("Style of the paragraph"));
    for (const Style &each : kStyles)
        m_style->addItem(tr(each.text), each.heading);
    format->addWidget(m_style);
    format->addSeparator();
    fillFromLetters(format, stringSetting(Setting::ToolbarSendFormat), [this, format](char16_t letter) {
        QAction *action = m_actions.forLetter(letter, true);
        if (action)
            addToToolBar(format, action);
        return action != nullptr;
    });
    m_formatBar = new LinedBar(format);
    m_formatBar->setObjectName(u"formatLine"_s);
}

void SendWindow::createStatus()
{
    m_saved = new ElidedLabel;
    m_delay = new QLabel;
    m_words = new QLabel;
    m_form = new QComboBox;
    m_form->setFrame(false);
    m_form->setAccessibleName(tr("Plain or formatted text"));
    m_form->addItems({tr("Plain text"), tr("Formatted text")});
    statusBar()->setSizeGripEnabled(false);
    statusBar()->setContentsMargins(space::card, 0, 0, 0);
    m_delay->setContentsMargins(0, 0, space::group, 0);
    statusBar()->addWidget(m_saved, 1);
    for (QWidget *each :
         {static_cast<QWidget *>(m_delay), static_cast<QWidget *>(m_words), static_cast<QWidget *>(m_form)})
        statusBar()->addPermanentWidget(each);
    for (QWidget *each : {static_cast<QWidget *>(m_saved), static_cast<QWidget *>(m_delay),
                          static_cast<QWidget *>(m_words)}) {
        setTextRole(each, Role::Text2);
        setFontScale(each, scale::small);
    }
}

void SendWindow::show(const Composition &composition)
{
    m_rest = composition;
    showIdentity();
    m_header->setNews(m_isArticle);
    m_header->show(m_rest);
    m_header->setExtraShown(boolSetting(Setting::EditHeaders));
    m_actions[ComposeAct::MoreFields]->setChecked(m_header->extraIsShown());
    m_editor->show(composition);
    limitSize(m_header->identity());
    m_attachments->model().setAll(composition.attachments);
    m_actions[ComposeAct::ImportanceHigh]->setChecked(composition.importance == Importance::High);
    m_actions[ComposeAct::ImportanceLow]->setChecked(composition.importance == Importance::Low);
    m_actions[ComposeAct::Receipt]->setChecked(composition.receipt);
    m_actions[ComposeAct::RefuseArchive]->setChecked(composition.archiveRefused);
    m_actions[ComposeAct::Wrap]->setChecked(composition.wrap);
    updateHave();
    updateFormat();
    if (composition.encrypt)
        warnOfEncryption();
}

/// What stands behind From is what the message is sent as, also where the identity was changed or deleted
/// since it was begun.
void SendWindow::showIdentity()
{
    const IdentityManager &identities = m_services.identities;
    const QString former = m_rest.identity.address;
    const Identity *own = identities.identity(m_rest.identity.number);
    const Identity *now = own;
    if (!own || own->address != former) {
        const Identity *same = former.isEmpty() ? nullptr : identities.find(former);
        now = same ? same : own ? own : identities.defaultIdentity();
    }
    m_rest.identity = now ? *now : Identity();
    m_header->setIdentities(identities.all(), m_rest.identity.number);
    if (now && now->address != former && !former.isEmpty())
        m_bar->tell(
            MessageBar::Kind::Warning,
            tr("No identity writes as %1 any more. This message is from %2.")
                .arg(harmlessLine(former, kLongestAddress), harmlessLine(now->address, kLongestAddress)));
}

/// What the server of that identity takes, where anybody knows.
void SendWindow::limitSize(int identity)
{
    m_attachments->setLimit(m_services.sizeLimit ? m_services.sizeLimit(identity) : 0);
}

Composition SendWindow::composition() const
{
    Composition now = m_rest;
    m_header->read(now);
    now.attachments = m_attachments->model().all();
    m_editor->read(now);
    now.importance = m_actions[ComposeAct::ImportanceHigh]->isChecked()  ? Importance::High
                     : m_actions[ComposeAct::ImportanceLow]->isChecked() ? Importance::Low
                                                                         : Importance::Normal;
    now.receipt = m_actions[ComposeAct::Receipt]->isChecked();
    now.archiveRefused = m_actions[ComposeAct::RefuseArchive]->isChecked();
    now.wrap = m_actions[ComposeAct::Wrap]->isChecked();
    return now;
}

void SendWindow::updateHave()
{
    const bool rich = m_editor->isRich();
    const std::pair<ComposeNeed, bool> needs[] = {
        {ComposeNeedsRich, rich},
        {ComposeNeedsPlain, !rich},
        {ComposeNeedsUndo, m_editor->canUndo()},
        {ComposeNeedsRedo, m_editor->canRedo()},
        {ComposeNeedsArticle, m_isArticle},
        {ComposeNeedsVersions, !m_services.drafts.versions(m_draft).empty()},
    };
    unsigned have = 0;
    for (const auto &[need, there] : needs)
        have |= there ? unsigned(need) : 0U;
    m_registry.setHave(have);
}

void SendWindow::updateFormat()
{
    const bool rich = m_editor->isRich();
    m_formatBar->setVisible(rich);
    m_form->setCurrentIndex(rich ? 1 : 0);
    m_actions[ComposeAct::Rich]->setChecked(rich);
    if (!rich)
        return;
    const RichEditor *editor = m_editor->rich();
    const QTextCharFormat format = editor->currentCharFormat();
    m_actions[ComposeAct::Bold]->setChecked(format.fontWeight() > QFont::Normal);
    m_actions[ComposeAct::Italic]->setChecked(format.fontItalic());
    m_actions[ComposeAct::Underline]->setChecked(format.fontUnderline());
    const Qt::Alignment alignment = editor->alignment();
    m_actions[ComposeAct::AlignLeft]->setChecked(alignment & (Qt::AlignLeft | Qt::AlignLeading));
    m_actions[ComposeAct::AlignCentre]->setChecked(alignment & Qt::AlignHCenter);
    m_actions[ComposeAct::AlignRight]->setChecked(alignment & Qt::AlignRight);
    m_actions[ComposeAct::Justify]->setChecked(alignment & Qt::AlignJustify);
    const QTextList *list = editor->textCursor().currentList();
    const bool numbered = list && list->format().style() <= QTextListFormat::ListDecimal;
    m_actions[ComposeAct::Numbered]->setChecked(numbered);
    m_actions[ComposeAct::Bullets]->setChecked(list && !numbered);
    m_style->setCurrentIndex(std::max(0, m_style->findData(editor->blockStyle())));
}

void SendWindow::updateStatus()
{
    const QString subject = m_header->text(ComposeHeader::Field::Subject);
    const QString title = subject.trimmed().isEmpty() ? (m_isArticle ? tr("New article") : tr("New message"))
                                                      : harmlessLine(subject, kLongestTitle);
    setWindowTitle(title + u" - Velmar"_s);
    m_saved->setText(m_savedText);
    const int delay = Outbox::undoDelay();
    m_delay->setText(delay > 0 ? tr("Sent %1 s after you press Send, with Undo").arg(delay) : QString());
    const int words = m_editor->wordCount({m_signatureEnd, m_attribution});
    m_words->setText(words == 1 ? tr("1 word") : tr("%1 words").arg(locale().toString(words)));
}

void SendWindow::resizeEvent(QResizeEvent *event)
{
    QMainWindow::resizeEvent(event);
    setBarTextsShown(m_mainBar, width() >= columnWidth(kBarTextsFrom));
    m_delay->setVisible(width() >= columnWidth(kBarTextsFrom));
}

void SendWindow::connectParts()
{
    connect(m_header, &ComposeHeader::changed, this, &SendWindow::changed);
    connect(m_header, &ComposeHeader::identityChosen, this, &SendWindow::identityChosen);
    connect(m_header, &ComposeHeader::leaveDown, this, [this] { m_editor->setFocus(); });
    m_header->setProposals([this](const QString &beginning) {
        constexpr int kMost = 8;
        QList<RecipientEdit::Proposal> proposals;
        for (const Composer::KnownAddress &each : m_services.composer.complete(beginning, kMost))
            proposals.append({each.address, each.collected});
        return proposals;
    });
    m_header->setJudge([this](const Address &address) { return doubtAbout(address); });
    connect(m_editor, &ComposeEditor::changed, this, &SendWindow::changed);
    connect(m_editor, &ComposeEditor::canUndoChanged, this, &SendWindow::updateHave);
    connect(m_editor, &ComposeEditor::canRedoChanged, this, &SendWindow::updateHave);
    connect(m_editor, &ComposeEditor::formChanged, this, [this] {
        updateHave();
        updateFormat();
    });
    connect(m_editor, &ComposeEditor::filesDropped, this, &SendWindow::attachFiles);
    connect(m_editor, &ComposeEditor::imageDropped, this, &SendWindow::attachPicture);
    connect(m_editor, &ComposeEditor::tooMuchPasted, this, &SendWindow::attachPasted);
    connect(&m_attachments->model(), &ComposeAttachmentModel::changed, this, &SendWindow::changed);
    connect(m_attachments, &ComposeAttachments::becameLarge, this, &SendWindow::warnOfSize);
    connect(m_attachments, &ComposeAttachments::addWanted, this, &SendWindow::askForFiles);
    connect(m_attachments, &ComposeAttachments::openWanted, this, &SendWindow::attachmentOpened);
    connect(&m_services.identities, &IdentityManager::changed, this, [this] {
        const Identity before = m_rest.identity;
        showIdentity();
        limitSize(m_rest.identity.number);
        if (m_rest.identity.number != before.number || m_rest.identity.address != before.address)
            changed();
    });
    connect(&m_services.composer, &Composer::addressesChanged, this, [this] {
        if (!m_counting.isActive())
            m_counting.start();
    });
    connect(&m_services.drafts, &Drafts::kept, this, &SendWindow::keptSoon);
    connect(&m_typed, &QTimer::timeout, this, &SendWindow::keepSoon);
    connect(&m_interval, &QTimer::timeout, this, &SendWindow::keepSoon);
    connect(&m_counting, &QTimer::timeout, this, [this] {
        updateStatus();
        lookAtNewPeople();
    });
}
