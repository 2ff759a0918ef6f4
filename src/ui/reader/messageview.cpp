#include "ui/reader/messageview.h"

#include "config/directory.h"
#include "config/settings.h"
#include "html/urls.h"
#include "message/mimecontext.h"
#include "message/safename.h"
#include "ui/look/askingbar.h"
#include "ui/look/elidedlabel.h"
#include "ui/look/emptystate.h"
#include "ui/look/icons.h"
#include "ui/look/metrics.h"
#include "ui/look/recolour.h"
#include "ui/reader/attachmentactions.h"
#include "ui/reader/attachmentstrip.h"
#include "ui/reader/blockedcontent.h"
#include "ui/reader/bodybuilder.h"
#include "ui/reader/bodydocument.h"
#include "ui/reader/bodyformat.h"
#include "ui/reader/bodyview.h"
#include "ui/reader/diagnosis.h"
#include "ui/reader/findbar.h"
#include "ui/reader/htmlquotes.h"
#include "ui/reader/linktexts.h"
#include "ui/reader/partstree.h"
#include "ui/reader/personactions.h"
#include "ui/reader/readeractions.h"
#include "ui/reader/remotepictures.h"
#include "ui/reader/sourcewindow.h"
#include "ui/texts/harmless.h"
#include "ui/texts/sizetext.h"

#include <QAction>
#include <QEvent>
#include <QFileDialog>
#include <QFocusEvent>
#include <QMenu>
#include <QResizeEvent>
#include <QScrollBar>
#include <QStackedLayout>
#include <QTimer>
#include <QUrl>
#include <QVBoxLayout>

#include <cmath>

using namespace Qt::StringLiterals;

namespace {

constexpr double kZoomStep = 1.1;
constexpr double kLeastZoom = 0.5;
constexpr double kGreatestZoom = 4;
constexpr int kResizeRest = 200;  ///< ms after the last change of the width until pictures are fitted anew
constexpr int kAroundHtml = 100;  ///< pixels beside HTML that are its frame's, at most
constexpr int kWideEnough = 1600; ///< pixels: pictures need not be wider than this in any window

/// A document hands a link back in an encoding of its own, international names of hosts above all.
bool isSameTarget(const QString &a, const QString &b)
{
    return a == b || QUrl(a).toEncoded() == QUrl(b).toEncoded();
}

} // namespace

MessageView::MessageView(QWidget *parent)
    : QWidget(parent)
    , m_more(new QMenu(this))
    , m_moreAction(new QAction(icon(u"more"_s), tr("More"), this))
    , m_stack(new QStackedLayout(this))
    , m_rest(new QTimer(this))
    , m_rebuild(new QTimer(this))
{
    setSurface(this, Role::Base);
    m_moreAction->setMenu(m_more);
    createPanes();
    connectPanes();
    m_rebuild->setSingleShot(true);
    connect(m_rebuild, &QTimer::timeout, this, &MessageView::refresh);
    connect(m_rest, &QTimer::timeout, this, [this] {
        if (m_builder->writeMore())
            return;
        m_rest->stop();
        m_find->refresh();
    });
    clear();
}

MessageView::~MessageView()
{
    dropQuestion(false);
}

void MessageView::createPanes()
{
    m_empty = new EmptyState(this);
    m_page = new QWidget(this);
    m_header = new HeaderCard(m_page);
    m_bar = new AskingBar(m_page);
    m_question = new AskingBar(m_page);
    m_question->setObjectName(u"question"_s);
    m_body = new BodyView(m_page);
    m_find = new FindBar(m_body, m_page);
    m_attachments = new AttachmentActions(m_bar, this);
    m_pieces = new PartialJoiner(m_bar, this);
    m_remote = new RemotePictures(this);
    m_strip = new AttachmentStrip([this](int part) { return m_attachments->copyOf(part); }, m_page);
    m_faults = new ElidedLabel({}, m_page);
    m_faults->setObjectName(u"faults"_s);
    setTextRole(m_faults, Role::Warning);
    auto *faultMargins = new QVBoxLayout;
    faultMargins->setContentsMargins(space::dialog, space::between, space::dialog, 0);
    faultMargins->addWidget(m_faults);
    auto *barMargins = new QVBoxLayout;
    barMargins->setContentsMargins(space::dialog, space::between, space::dialog, 0);
    barMargins->setSpacing(space::inner);
    barMargins->addWidget(m_question);
    barMargins->addWidget(m_bar);
    auto *layout = new QVBoxLayout(m_page);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_header);
    layout->addLayout(faultMargins);
    layout->addLayout(barMargins);
    layout->addWidget(m_body, 1);
    layout->addWidget(m_find);
    layout->addWidget(m_strip);
    m_stack->addWidget(m_empty);
    m_stack->addWidget(m_page);
}

void MessageView::setHeaderActions(const QList<QAction *> &buttons, const QList<QAction *> &more)
{
    m_more->clear();
    for (QAction *action : more) {
        if (action)
            m_more->addAction(action);
        else
            m_more->addSeparator();
    }
    m_header->setActions(more.isEmpty() ? buttons : buttons + QList<QAction *>{m_moreAction});
}

void MessageView::addTextAction(QAction *action)
{
    m_body->addAction(action);
}

void MessageView::connectPanes()
{
    connect(m_body, &BodyView::linkClicked, this, &MessageView::followLink);
    connect(m_body, &BodyView::linkHovered, this, &MessageView::linkHovered);
    connect(m_body, &BodyView::zoomRequested, this,
            [this](int steps) { setZoom(m_zoom * std::pow(kZoomStep, steps)); });
    connect(m_remote, &RemotePictures::arrived, this, &MessageView::showArrivals);
    connect(m_question, &MessageBar::closed, this, [this] { dropQuestion(true); });
    connect(m_find, &FindBar::searching, this, &MessageView::unfoldFor);
    connect(m_strip, &AttachmentStrip::activated, m_attachments, &AttachmentActions::activate);
    connect(m_strip, &AttachmentStrip::previewRequested, m_attachments, &AttachmentActions::preview);
    connect(m_strip, &AttachmentStrip::openWithRequested, m_attachments, &AttachmentActions::openWith);
    connect(m_strip, &AttachmentStrip::openMessageRequested, m_attachments, &AttachmentActions::openMessage);
    connect(m_strip, &AttachmentStrip::copyPictureRequested, m_attachments, &AttachmentActions::copyPicture);
    connect(m_attachments, &AttachmentActions::messageWanted, this, &MessageView::messageWanted);
    connect(m_attachments, &AttachmentActions::linkActivated, this, &MessageView::linkActivated);
    connect(m_pieces, &PartialJoiner::messageWanted, this, &MessageView::messageWanted);
    connect(people(), &PersonActions::composeWanted, this, &MessageView::composeWanted);
    connect(people(), &PersonActions::findFromWanted, this, &MessageView::findFromWanted);
    connect(m_strip, &AttachmentStrip::openRequested, m_attachments, &AttachmentActions::open);
    connect(m_strip, &AttachmentStrip::saveRequested, m_attachments, &AttachmentActions::save);
    m_body->setFoldText([this](int id) { return m_builder ? m_builder->foldedText(id) : QString(); });
}

void MessageView::perform(ReaderAction which, bool checked)
{
    if (!can(which))
        return;
    switch (which) {
    case ReaderAction::SaveAttachments: return m_attachments->save(m_builder->facts().attachments);
    case ReaderAction::SaveRaw: return saveRaw();
    case ReaderAction::Copy: return m_body->copy();
    case ReaderAction::SelectAll: return m_body->selectAll();
    case ReaderAction::Find: return m_find->open();
    case ReaderAction::FindNext: return m_find->findNext();
    case ReaderAction::FindPrevious: return m_find->findPrevious();
    case ReaderAction::AllHeaders: m_allHeaders = checked; return build();
    case ReaderAction::PlainText: m_plainText = checked; return build();
    case ReaderAction::CharacterSet: return; // has a menu
    case ReaderAction::Source: return showSource();
    case ReaderAction::PartsTree: return showParts();
    case ReaderAction::ShowRemote: return showRemoteImages(false);
    case ReaderAction::TrustSender: return showRemoteImages(true);
    case ReaderAction::ZoomIn: return setZoom(m_zoom * kZoomStep);
    case ReaderAction::ZoomOut: return setZoom(m_zoom / kZoomStep);
    case ReaderAction::ZoomReset: return setZoom(1);
    }
}

bool MessageView::can(ReaderAction which) const
{
    return (rowOf(which).needs & ~have()) == 0;
}

bool MessageView::isChecked(ReaderAction which) const
{
    return (which == ReaderAction::AllHeaders && m_allHeaders) ||
           (which == ReaderAction::PlainText && m_plainText);
}

unsigned MessageView::have() const
{
    if (!m_hasMessage)
        return 0;
    const BodyFacts &facts = m_builder->facts();
    unsigned have = readerneeds::kMessageShown;
    if (!facts.attachments.isEmpty())
        have |= readerneeds::kAttachmentsShown;
    if (facts.hasBothForms || !facts.isPlain || m_plainText)
        have |= readerneeds::kHtmlOffered;
    if (!facts.remoteImages.isEmpty() && !m_remote->isShown() && !boolSetting(Setting::DisableImageDisplay) &&
        m_remote->availability() == RemoteContent::Availability::Available)
        have |= readerneeds::kRemoteBlocked;
    if (!m_remote->sender().isEmpty())
        have |= readerneeds::kSenderNameable;
    return have;
}

void MessageView::setCharset(const QByteArray &charset)
{
    m_charset = charset;
    showFaults();
    refresh();
}

void MessageView::showMessage(const Message &message, const ReaderMarks &marks)
{
    m_message = message;
    m_marks = marks;
    m_hasMessage = true;
    m_everything = false;
    dropQuestion(false);
    m_bar->hide();
    m_attachments->setMessage(message);
    m_remote->setMessage(message, marks.junk);
    m_plainText = boolSetting(Setting::DisplayPlainText);
    m_charset.clear();
    m_header->setTags({});
    m_header->showMessage(m_message, m_marks);
    showFaults();
    m_stack->setCurrentWidget(m_page);
    if (hasFocus())
        m_body->setFocus();
    m_page->layout()->activate(); // the text is written for the width that it will have
    build();
    m_body->verticalScrollBar()->setValue(0);
    tellWhatIsBlocked();
    m_pieces->showMessage(m_message);
    tellWhatIsOnServer();
    emit linkHovered({});
}

void MessageView::ask(const QString &text, const AskingBar::Answer &first, const AskingBar::Answer &second,
                      Unanswered unanswered)
{
    dropQuestion(false);
    m_unanswered = std::move(unanswered);
    const auto answer = [this](const AskingBar::Answer &given) {
        return AskingBar::Answer{given.text, [this, then = given.then] {
                                     m_unanswered = {};
                                     then();
                                 }};
    };
    m_question->ask(MessageBar::Kind::Information, text, answer(first), answer(second));
}

void MessageView::dropQuestion(bool isClosed)
{
    if (const Unanswered unanswered = std::exchange(m_unanswered, {}))
        unanswered(isClosed);
    m_question->hide();
}

void MessageView::setMarks(const ReaderMarks &marks)
{
    const bool isAskedFor = marks.restIsComing && !m_marks.restIsComing;
    m_marks = marks;
    m_header->setMarks(marks);
    if (isAskedFor)
        tellWhatIsOnServer();
}

/// Only the header was fetched, as the account's limits say.
void MessageView::tellWhatIsOnServer()
{
    if (m_marks.onServer <= 0)
        return;
    if (m_marks.restIsComing)
        return m_bar->tell(MessageBar::Kind::Information, tr("The rest of this message is being fetched."));
    m_bar->ask(MessageBar::Kind::Information,
               tr("Only the header was fetched. The message has %1.").arg(sizeText(m_marks.onServer)),
               {tr("Fetch the rest"), [this] { emit restWanted(); }},
               {tr("Delete on the server"), [this] { emit deleteOnServerWanted(); }});
}

void MessageView::clear(const QString &title, const QString &sentence)
{
    dropQuestion(false);
    m_message = Message();
    m_hasMessage = false;
    m_remote->setMessage(m_message, true);
    m_rest->stop();
    m_find->close();
    m_empty->setTexts(title.isEmpty() ? tr("No message selected") : title,
                      title.isEmpty() && sentence.isEmpty() ? tr("Choose one in the list to read it here.")
                                                            : sentence);
    m_stack->setCurrentWidget(m_empty);
    emit actionsChanged();
}

void MessageView::refresh()
{
    if (!m_hasMessage)
        return;
    const int place = m_body->verticalScrollBar()->value();
    m_header->showMessage(m_message, m_marks);
    build();
    m_body->verticalScrollBar()->setValue(place);
}

void MessageView::build()
{
    m_rest->stop();
    BodyOptions options;
    if (m_marks.onServer > 0)
        options.plan.emptyNote = tr("The text of this message is still on its server.");
    options.plan.preferPlain = m_plainText;
    options.plan.images = !boolSetting(Setting::DisableImageDisplay);
    options.allHeaders = m_allHeaders;
    options.charset = m_charset;
    options.everything = m_everything;
    options.remoteImages = m_remote->isShown();
    options.zoom = m_zoom;
    options.width = std::min(std::max(m_body->viewport()->width(), 320), kWideEnough);
    auto builder = std::make_unique<BodyBuilder>(m_message, options);
    auto document = std::make_unique<BodyDocument>(m_message, m_remote->files());
    builder->build(*document);
    m_builder = std::move(builder);
    showDocument(std::move(document));
    showFacts();
    m_remote->show(options.plan.images ? m_builder->facts().remoteImages : QStringList());
    if (m_builder->isUnfinished())
        m_rest->start(0);
}

void MessageView::showDocument(std::unique_ptr<BodyDocument> document)
{
    const bool wraps = m_builder->facts().isPlain;
    m_body->showDocument(document.release(), m_builder->style(), wraps ? m_builder->style().wrapWidth : 0);
    m_find->refresh();
}

void MessageView::showFacts()
{
    const BodyFacts &facts = m_builder->facts();
    m_strip->showAttachments(m_message, facts.attachments);
    if (facts.isEncrypted)
        m_header->setVerdict(u"encrypt"_s, tr("Encrypted"));
    else
        m_header->setVerdict(u"signed"_s, facts.isSigned ? tr("Signed, not checked") : QString());
    emit actionsChanged();
}

/// One quiet line; everything is in its tool tip.
void MessageView::showFaults()
{
    const bool isWhole = m_marks.onServer == 0; // a header alone lacks what nobody has fetched yet
    const QStringList faults = isWhole ? diagnose(m_message, m_message.mime(), m_charset) : QStringList();
    const QString words = faultsInWords(faults);
    m_faults->setText(words);
    m_faults->setToolTip(faults.size() > 1 ? asToolTip(faults.join(u'\n')) : QString());
    m_faults->setAccessibleName(faults.join(u' '));
    m_faults->setVisible(!words.isEmpty());
}

void MessageView::setRemoteContent(RemoteContent *content)
{
    m_remote->setContent(content);
    emit actionsChanged();
}

/// One calm line about what the message would load, with what can be done about it.
void MessageView::tellWhatIsBlocked()
{
    const BodyFacts &facts = m_builder->facts();
    const QString blocked = blockedInWords(facts);
    m_bar->setToolTip({});
    if (blocked.isEmpty() || m_remote->isShown() || boolSetting(Setting::DisableImageDisplay))
        return;
    m_bar->setToolTip(blockedInDetail(facts));
    if (facts.remoteImages.isEmpty())
        return m_bar->tell(MessageBar::Kind::Information, blocked);
    const AskingBar::Answer once{tr("Show once"), [this] { showRemoteImages(false); }};
    const AskingBar::Answer always{tr("Always for this sender"), [this] { showRemoteImages(true); }};
    switch (m_remote->availability()) {
    case RemoteContent::Availability::Available:
        return m_bar->ask(MessageBar::Kind::Information, blocked, once,
                          m_remote->sender().isEmpty() ? AskingBar::Answer() : always);
    case RemoteContent::Availability::Disabled:
        return m_bar->tell(MessageBar::Kind::Information, boolSetting(Setting::DisableImageFetches)
                                                              ? blocked + u' ' + tr("The settings say never.")
                                                              : blocked);
    case RemoteContent::Availability::Offline:
        return m_bar->tell(MessageBar::Kind::Information, blocked + u' ' + tr("You are offline."));
    }
}

void MessageView::showRemoteImages(bool always)
{
    m_bar->hide();
    if (always)
        m_remote->allowAlways();
    else
        m_remote->allowOnce();
    refresh();
}

void MessageView::showArrivals(const QStringList &urls)
{
    const BodyView::Anchor anchor(*m_body);
    static_cast<BodyDocument &>(*m_body->document()).update(urls);
}

void MessageView::followLink(const QString &target)
{
    if (target == readerlink::showAll) {
        m_everything = true;
        return refresh();
    }
    if (target.startsWith(readerlink::fold))
        return unfold(QStringView(target).sliced(readerlink::fold.size()).toInt());
    if (target.startsWith(u'#'))
        return m_body->scrollToAnchor(target.sliced(1));
    const QString safe = safeTarget(target);
    if (safe.isEmpty())
        return;
    const QString opened = withoutTracking(safe);
    const AskingBar::Answer open{tr("Open %1").arg(isolatedAddress(hostInWords(hostOf(safe)))),
                                 [this, opened] { emit linkActivated(opened); }};
    const QList<DeceptiveLink> &deceptive = m_builder->facts().deceptiveLinks;
    const auto found = std::find_if(deceptive.begin(), deceptive.end(), [&](const DeceptiveLink &link) {
        return isSameTarget(link.target, safe);
    });
    if (found != deceptive.end())
        return askAboutLink(*found, open);
    if (!isConfusableLink(safe))
        return emit linkActivated(opened);
    m_bar->ask(MessageBar::Kind::Warning,
               tr("The site of this link, “%1”, has letters that look like others.")
                   .arg(isolatedAddress(hostInWords(hostOf(safe)))),
               open);
}

/// Of a link whose text names another place than it leads to.
void MessageView::askAboutLink(const DeceptiveLink &link, const AskingBar::Answer &open)
{
    const QList<UrlRange> named = findUrls(link.text);
    const QString shown =
        named.isEmpty() ? harmlessLine(link.text, 80) : hostInWords(hostOf(named.first().target));
    const QString host = hostInWords(hostOf(link.target));
    m_bar->ask(
        MessageBar::Kind::Warning,
        tr("This link says “%1” but leads to “%2”.").arg(isolatedAddress(shown), isolatedAddress(host)),
        open);
    emit deceptiveLinkClicked(shown, host);
}

void MessageView::unfold(int id)
{
    const BodyView::Anchor anchor(*m_body);
    m_builder->unfold(static_cast<BodyDocument &>(*m_body->document()), id);
}

void MessageView::unfoldFor(const QString &text)
{
    const QList<int> folds = m_builder->foldsWith(text) + htmlFoldsWith(*m_body->document(), text);
    for (const int id : folds)
        unfold(id);
}

void MessageView::setZoom(double zoom)
{
    m_zoom = std::clamp(zoom, kLeastZoom, kGreatestZoom);
    if (std::abs(m_zoom - 1) < 0.01)
        m_zoom = 1;
    refresh();
}

void MessageView::showSource()
{
    if (m_hasMessage)
        (new SourceWindow(m_message.text(), harmlessLine(m_message.subject(), 200), this))->show();
}

void MessageView::saveRaw()
{
    const QString subject = m_message.subject();
    auto *dialog = new QFileDialog(this, tr("Save message as received"), documentsDirectory());
    dialog->setObjectName(u"saveRaw"_s);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setAcceptMode(QFileDialog::AcceptSave); // asks before it replaces a file
    dialog->setNameFilter(tr("Message (*.eml)"));
    dialog->selectFile(safeFileName(subject.isEmpty() ? tr("No subject") : subject) + u".eml"_s);
    connect(dialog, &QFileDialog::fileSelected, this, [this, message = m_message](const QString &path) {
        if (message.saveAsText(path, SavedText::Raw, LineEnds::Lf))
            m_bar->tell(MessageBar::Kind::Good, tr("Saved as %1.").arg(path));
        else
            m_bar->tell(MessageBar::Kind::Error, tr("%1 could not be written.").arg(path));
    });
    dialog->open();
}

void MessageView::showParts()
{
    auto *window = new PartsTree(m_message, this);
    connect(window, &PartsTree::messageWanted, this, &MessageView::messageWanted);
    connect(window, &PartsTree::linkActivated, this, &MessageView::linkActivated);
    window->show();
}

bool MessageView::pageDown()
{
    QScrollBar *bar = m_body->verticalScrollBar();
    if (!m_hasMessage || bar->value() >= bar->maximum())
        return false;
    bar->triggerAction(QAbstractSlider::SliderPageStepAdd);
    return true;
}

QString MessageView::selectedText() const
{
    const QTextCursor cursor = m_body->textCursor();
    return m_hasMessage ? m_body->plainText(cursor.selectionStart(), cursor.selectionEnd()) : QString();
}

/// The text's, where there is one.
void MessageView::focusInEvent(QFocusEvent *event)
{
    if (m_hasMessage)
        m_body->setFocus(event->reason());
}

void MessageView::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    const bool looks = event->type() == QEvent::PaletteChange || event->type() == QEvent::FontChange ||
                       event->type() == QEvent::StyleChange || event->type() == QEvent::LayoutDirectionChange;
    if (looks && m_hasMessage)
        m_rebuild->start(0);
}

void MessageView::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    const auto [narrow, wide] = std::minmax({event->size().width(), event->oldSize().width()});
    if (!m_hasMessage || narrow == wide)
        return;
    const BodyFacts &facts = m_builder->facts();
    if (facts.hasPictures || facts.widest > narrow - kAroundHtml)
        m_rebuild->start(kResizeRest);
}
