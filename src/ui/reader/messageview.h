#pragma once

#include "message/message.h"
#include "ui/look/askingbar.h"
#include "ui/reader/headercard.h"
#include "ui/reader/partialjoiner.h"

#include <QWidget>

#include <memory>

class AttachmentActions;
class AttachmentStrip;
class BodyBuilder;
class BodyDocument;
class BodyView;
class ElidedLabel;
class EmptyState;
class FindBar;
class QMenu;
class RemoteContent;
class RemotePictures;
class QStackedLayout;
class QTimer;
enum class ReaderAction;
struct DeceptiveLink;

/// Shows one message: header card, text, attachments. It reads nothing but the message it is given, and
/// neither stores nor sends anything.
class MessageView : public QWidget
{
    Q_OBJECT

public:
    explicit MessageView(QWidget *parent = nullptr);
    ~MessageView() override;

    void showMessage(const Message &message, const ReaderMarks &marks = {});
    /// The marks alone; the text stays where it is scrolled to.
    void setMarks(const ReaderMarks &marks);
    /// The tags beside the subject; the next message has none until they are set.
    void setTags(const QList<HeaderTag> &tags) { m_header->setTags(tags); }
    /// What one can do with the people of the header; the window may add rows to their menus.
    PersonActions *people() const { return m_header->people(); }
    /// Where the other pieces of a message that was sent in several are found.
    void setPartFinder(PartFinder finder) { m_pieces->setFinder(std::move(finder)); }
    /// A question about the message that is shown, above its text. One of the answers comes, or @p unanswered
    /// once: @p isClosed, when the user closed the question, else when the message went out of sight.
    using Unanswered = std::function<void(bool isClosed)>;
    void ask(const QString &text, const AskingBar::Answer &first, const AskingBar::Answer &second,
             Unanswered unanswered);
    /// Shows the empty state with these texts (emptystate.h).
    void clear(const QString &title = {}, const QString &sentence = {});
    bool isEmpty() const { return !m_hasMessage; }
    const Message &message() const { return m_message; }

    /// Where pictures on the net come from, which must outlive this; null: from nowhere.
    void setRemoteContent(RemoteContent *content);

    /// Builds the text anew: settings or the look have changed.
    void refresh();

    /// Does nothing when it cannot be done now. @p checked counts for actions that are on or off.
    void perform(ReaderAction which, bool checked = false);
    bool can(ReaderAction which) const;
    bool isChecked(ReaderAction which) const;
    /// The bits of readerneeds (readeractions.h) that hold for what is shown.
    unsigned have() const;

    /// The window's buttons in the header card, and what stands in the menu of its "More"; null pointers are
    /// separators.
    void setHeaderActions(const QList<QAction *> &buttons, const QList<QAction *> &more);

    /// One whose key acts in the text alone, and that stands in the text's menu.
    void addTextAction(QAction *action);

    /// The character set that the texts of this message are read in, whatever they are labelled with; empty:
    /// as labelled. The next message begins with none.
    QByteArray charset() const { return m_charset; }
    void setCharset(const QByteArray &charset);

    /// Opens a window with the text of the message as it is stored.
    void showSource();
    /// Scrolls on by a page. False: the end was reached before, and it is time for the next message.
    bool pageDown();

    /// The text that is selected; empty when nothing is. Quotation marks are not in it.
    QString selectedText() const;

signals:
    /// What can be done, or what is on, has changed.
    void actionsChanged();
    /// A link was clicked and may be followed: its scheme is http, https, mailto, ftp, news or nntp.
    void linkActivated(const QString &target);
    /// A message in a window of its own: an enclosed one, or one put together out of its pieces.
    void messageWanted(const Message &message);
    /// A mail to this person is to be written: "mailto:" with an address.
    void composeWanted(const QString &target);
    /// Of a message of which only the header is here: the whole of it, or that the server may delete it.
    void restWanted();
    void deleteOnServerWanted();
    /// Mail from this address is to be found.
    void findFromWanted(const QString &address);
    /// The link under the mouse, for the status line; empty when there is none any more.
    void linkHovered(const QString &target);
    /// A clicked link shows one host and leads to another; the bar asks whether to follow it all the same.
    void deceptiveLinkClicked(const QString &shownHost, const QString &targetHost);

protected:
    void focusInEvent(QFocusEvent *event) override;
    void changeEvent(QEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    void createPanes();
    void connectPanes();
    void build();
    void showDocument(std::unique_ptr<BodyDocument> document);
    void showFacts();
    void showFaults();
    void tellWhatIsBlocked();
    void tellWhatIsOnServer();
    void showRemoteImages(bool always);
    void showArrivals(const QStringList &urls);
    void followLink(const QString &target);
    void askAboutLink(const DeceptiveLink &link, const AskingBar::Answer &open);
    void unfold(int id);
    void unfoldFor(const QString &text);
    void setZoom(double zoom);
    void saveRaw();
    void dropQuestion(bool isClosed);
    void showParts();

    Message m_message;
    ReaderMarks m_marks;
    bool m_hasMessage = false;
    bool m_everything = false;
    bool m_allHeaders = false;
    bool m_plainText = false;
    QByteArray m_charset;
    double m_zoom = 1;
    QMenu *m_more;
    QAction *m_moreAction;
    QStackedLayout *m_stack;
    EmptyState *m_empty;
    QWidget *m_page;
    HeaderCard *m_header;
    ElidedLabel *m_faults; ///< what is wrong with the message
    AskingBar *m_question; ///< what the window asks about the message
    Unanswered m_unanswered;
    AskingBar *m_bar;
    BodyView *m_body;
    FindBar *m_find;
    AttachmentStrip *m_strip;
    AttachmentActions *m_attachments;
    PartialJoiner *m_pieces;
    RemotePictures *m_remote;
    std::unique_ptr<BodyBuilder> m_builder;
    QTimer *m_rest;    ///< writes a long text to its end
    QTimer *m_rebuild; ///< gathers the events of one change of the look
};
