#include "ui/reader/messageview.h"

#include "config/settings.h"
#include "html/urls.h"
#include "message/mimecontext.h"
#include "ui/look/emptystate.h"
#include "ui/look/icons.h"
#include "ui/look/metrics.h"
#include "ui/look/recolour.h"
#include "ui/look/askingbar.h"
#include "ui/reader/attachmentactions.h"
#include "ui/reader/attachmentstrip.h"
#include "ui/reader/bodybuilder.h"
#include "ui/reader/bodydocument.h"
#include "ui/reader/bodyformat.h"
#include "ui/reader/bodyview.h"
#include "ui/reader/findbar.h"
#include "ui/texts/harmless.h"
#include "ui/reader/sourcewindow.h"

#include <QAction>
#include <QEvent>
#include <QMenu>
#include <QResizeEvent>
#include <QScrollBar>
#include <QStackedLayout>
#include <QTimer>
#include <QToolButton>
#include <QUrl>
#include <QVBoxLayout>

#include <cmath>

using namespace Qt::StringLiterals;

namespace {

constexpr double kZoomStep = 1.1;
constexpr double kLeastZoom = 0.5;
constexpr double kGreatestZoom = 4;
constexpr int kResizeRest = 200;  ///< ms after the last change of the width until pictures are fitted anew
constexpr int kWideEnough = 1600; ///< pixels: pictures need not be wider than this in any window

struct ActionRow
{
    ReaderAction action;
    const char *name;
    const char *text;
    QKeyCombination key; ///< Key_unknown: none of its own
    bool checkable;
};

constexpr std::array kActions = {
    ActionRow{ReaderAction::AllHeaders, "allHeaders", QT_TRANSLATE_NOOP("MessageView", "All &headers"),
              Qt::CTRL | Qt::Key_H, true},
    ActionRow{ReaderAction::PlainText, "plainText", QT_TRANSLATE_NOOP("MessageView", "As &plain text"),
              Qt::Key_unknown, true},
    ActionRow{ReaderAction::Source, "source", QT_TRANSLATE_NOOP("MessageView", "So&urce"),
              Qt::CTRL | Qt::Key_U, false},
    ActionRow{ReaderAction::Find, "find", QT_TRANSLATE_NOOP("MessageView", "&Find in message"),
              Qt::CTRL | Qt::Key_F, false},
    ActionRow{ReaderAction::FindNext, "findNext", QT_TRANSLATE_NOOP("MessageView", "Find &next"), Qt::Key_F3,
              false},
    ActionRow{ReaderAction::FindPrevious, "findPrevious", QT_TRANSLATE_NOOP("MessageView", "Find pre&vious"),
              Qt::SHIFT | Qt::Key_F3, false},
    ActionRow{ReaderAction::ZoomIn, "zoomIn", QT_TRANSLATE_NOOP("MessageView", "&Larger text"),
              Qt::CTRL | Qt::Key_Plus, false},
    ActionRow{ReaderAction::ZoomOut, "zoomOut", QT_TRANSLATE_NOOP("MessageView", "S&maller text"),
              Qt::CTRL | Qt::Key_Minus, false},
    ActionRow{ReaderAction::ZoomReset, "zoomReset", QT_TRANSLATE_NOOP("MessageView", "Text of usual si&ze"),
              Qt::CTRL | Qt::Key_0, false},
    ActionRow{ReaderAction::Copy, "copy", QT_TRANSLATE_NOOP("MessageView", "&Copy"), Qt::CTRL | Qt::Key_C,
              false},
    ActionRow{ReaderAction::SelectAll, "selectAll", QT_TRANSLATE_NOOP("MessageView", "Select &all"),
              Qt::Key_unknown, false},
    ActionRow{ReaderAction::SaveAttachments, "saveAttachments",
              QT_TRANSLATE_NOOP("MessageView", "&Save attachments…"), Qt::Key_unknown, false},
};
static_assert(kActions.size() == kReaderActionCount);

/// A document hands a link back in an encoding of its own, international names of hosts above all.
bool isSameTarget(const QString &a, const QString &b)
{
    return a == b || QUrl(a).toEncoded() == QUrl(b).toEncoded();
}

} // namespace

MessageView::MessageView(QWidget *parent)
    : QWidget(parent)
    , m_more(new QMenu(this))
    , m_stack(new QStackedLayout(this))
    , m_rest(new QTimer(this))
    , m_rebuild(new QTimer(this))
{
    setSurface(this, Role::Base);
    createPanes();
    createActions();
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

MessageView::~MessageView() = default;

void MessageView::createPanes()
{
    m_empty = new EmptyState(this);
    m_page = new QWidget(this);
    m_header = new HeaderCard(m_page);
    m_bar = new AskingBar(m_page);
    m_body = new BodyView(m_page);
    m_find = new FindBar(m_body, m_page);
    m_attachments = new AttachmentActions(m_bar, this);
    m_strip = new AttachmentStrip([this](int part) { return m_attachments->copyOf(part); }, m_page);
    auto *barMargins = new QVBoxLayout;
    barMargins->setContentsMargins(space::card, space::between, space::card, 0);
    barMargins->addWidget(m_bar);
    auto *layout = new QVBoxLayout(m_page);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_header);
    layout->addLayout(barMargins);
    layout->addWidget(m_body, 1);
    layout->addWidget(m_find);
    layout->addWidget(m_strip);
    m_stack->addWidget(m_empty);
    m_stack->addWidget(m_page);
    setFocusProxy(m_body);
}

void MessageView::createActions()
{
    for (const ActionRow &row : kActions) {
        auto *made = new QAction(tr(row.text), this);
        made->setObjectName(QString::fromLatin1(row.name));
        if (row.key.key() != Qt::Key_unknown)
            made->setShortcut(QKeySequence(row.key));
        made->setCheckable(row.checkable);
        m_actions[std::size_t(row.action)] = made;
        addAction(made);
    }
    // the plus of the main row needs no shift; the editing keys belong to where the focus is
    action(ReaderAction::ZoomIn)
        ->setShortcuts({QKeySequence(Qt::CTRL | Qt::Key_Plus), QKeySequence(Qt::CTRL | Qt::Key_Equal)});
    action(ReaderAction::Copy)->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    for (const ReaderAction which : {ReaderAction::AllHeaders, ReaderAction::PlainText, ReaderAction::Source,
                                     ReaderAction::Find, ReaderAction::SaveAttachments})
        m_more->addAction(action(which));
    m_moreAction = new QAction(icon(u"more"_s), tr("More"), this);
    m_moreAction->setMenu(m_more);
    setHeaderActions({});
}

void MessageView::setHeaderActions(const QList<QAction *> &actions)
{
    m_header->setActions(actions + QList<QAction *>{m_moreAction});
    for (QToolButton *button : m_header->findChildren<QToolButton *>())
        if (button->defaultAction() == m_moreAction)
            button->setPopupMode(QToolButton::InstantPopup);
}

void MessageView::connectPanes()
{
    const auto on = [this](ReaderAction which, auto slot) {
        connect(action(which), &QAction::triggered, this, slot);
    };
    on(ReaderAction::AllHeaders, &MessageView::build);
    on(ReaderAction::PlainText, &MessageView::build);
    on(ReaderAction::Source, &MessageView::showSource);
    on(ReaderAction::Find, [this] { m_find->open(); });
    on(ReaderAction::FindNext, [this] { m_find->findNext(); });
    on(ReaderAction::FindPrevious, [this] { m_find->findPrevious(); });
    on(ReaderAction::ZoomIn, [this] { setZoom(m_zoom * kZoomStep); });
    on(ReaderAction::ZoomOut, [this] { setZoom(m_zoom / kZoomStep); });
    on(ReaderAction::ZoomReset, [this] { setZoom(1); });
    on(ReaderAction::Copy, [this] { m_body->copy(); });
    on(ReaderAction::SelectAll, [this] { m_body->selectAll(); });
    on(ReaderAction::SaveAttachments, [this] { m_attachments->save(m_builder->facts().attachments); });
    connect(m_body, &BodyView::linkClicked, this, &MessageView::followLink);
    connect(m_body, &BodyView::linkHovered, this, &MessageView::linkHovered);
    connect(m_body, &BodyView::zoomRequested, this,
            [this](int steps) { setZoom(m_zoom * std::pow(kZoomStep, steps)); });
    connect(m_find, &FindBar::searching, this, &MessageView::unfoldFor);
    connect(m_strip, &AttachmentStrip::openRequested, m_attachments, &AttachmentActions::open);
    connect(m_strip, &AttachmentStrip::saveRequested, m_attachments, &AttachmentActions::save);
    m_body->setFoldText([this](int id) { return m_builder ? m_builder->foldedText(id) : QString(); });
}

void MessageView::showMessage(const Message &message, const ReaderMarks &marks)
{
    m_message = message;
    m_marks = marks;
    m_hasMessage = true;
    m_everything = false;
    m_bar->hide();
    m_attachments->setMessage(message);
    action(ReaderAction::PlainText)->setChecked(boolSetting(Setting::DisplayPlainText));
    for (QAction *each : m_actions)
        each->setEnabled(true);
    m_header->showMessage(m_message, m_marks);
    build();
    m_stack->setCurrentWidget(m_page);
    m_body->verticalScrollBar()->setValue(0);
    showRemoteImages();
    emit linkHovered({});
}

void MessageView::setMarks(const ReaderMarks &marks)
{
    m_marks = marks;
    m_header->setMarks(marks);
}

void MessageView::clear(const QString &title, const QString &sentence)
{
    m_message = Message();
    m_hasMessage = false;
    m_rest->stop();
    m_find->close();
    m_empty->setTexts(title.isEmpty() ? tr("No message selected") : title,
                      title.isEmpty() && sentence.isEmpty() ? tr("Choose one in the list to read it here.")
                                                            : sentence);
    for (QAction *each : m_actions)
        each->setEnabled(false);
    m_stack->setCurrentWidget(m_empty);
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
    options.plan.preferPlain = action(ReaderAction::PlainText)->isChecked();
    options.plan.images = !boolSetting(Setting::DisableImageDisplay);
    options.allHeaders = action(ReaderAction::AllHeaders)->isChecked();
    options.everything = m_everything;
    options.zoom = m_zoom;
    options.width = std::min(std::max(m_body->viewport()->width(), 320), kWideEnough);
    auto builder = std::make_unique<BodyBuilder>(m_message, options);
    auto document = std::make_unique<BodyDocument>(m_message);
    builder->build(*document);
    m_builder = std::move(builder);
    showDocument(std::move(document));
    showFacts();
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
    action(ReaderAction::SaveAttachments)->setEnabled(!facts.attachments.isEmpty());
    action(ReaderAction::PlainText)
        ->setEnabled(facts.hasBothForms || !facts.isPlain || action(ReaderAction::PlainText)->isChecked());
}

void MessageView::showRemoteImages()
{
    const QStringList &remote = m_builder->facts().remoteImages;
    if (remote.isEmpty())
        return;
    m_bar->tell(MessageBar::Kind::Information,
                tr("Remote images are not shown: loading them would tell the sender that you read this."));
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
    const QList<DeceptiveLink> &deceptive = m_builder->facts().deceptiveLinks;
    const auto found = std::find_if(deceptive.begin(), deceptive.end(), [&](const DeceptiveLink &link) {
        return isSameTarget(link.target, safe);
    });
    if (found == deceptive.end())
        return emit linkActivated(safe);
    const QList<UrlRange> named = findUrls(found->text);
    const QString shown = harmlessLine(named.isEmpty() ? found->text : hostOf(named.first().target), 80);
    const QString host = harmlessLine(hostOf(safe), 80);
    m_bar->ask(
        MessageBar::Kind::Warning,
        tr("This link says “%1” but leads to “%2”.").arg(isolatedAddress(shown), isolatedAddress(host)),
        {tr("Open %1").arg(isolatedAddress(host)), [this, safe] { emit linkActivated(safe); }});
    emit deceptiveLinkClicked(shown, host);
}

void MessageView::unfold(int id)
{
    const int place = m_body->verticalScrollBar()->value();
    m_builder->unfold(static_cast<BodyDocument &>(*m_body->document()), id);
    m_body->verticalScrollBar()->setValue(place);
}

void MessageView::unfoldFor(const QString &text)
{
    const QList<int> folds = m_builder->foldsWith(text);
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
    if (m_hasMessage && m_builder->facts().hasPictures && event->size().width() != event->oldSize().width())
        m_rebuild->start(kResizeRest);
}
