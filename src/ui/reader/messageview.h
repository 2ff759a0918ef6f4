#pragma once

#include "message/message.h"
#include "ui/reader/headercard.h"

#include <QWidget>

#include <array>
#include <memory>

class AskingBar;
class AttachmentActions;
class AttachmentStrip;
class BodyBuilder;
class BodyDocument;
class BodyView;
class EmptyState;
class FindBar;
class QMenu;
class QStackedLayout;
class QTimer;

/// What the reader can do by itself. The window puts these into its menus; their keys work wherever in the
/// window the focus is.
enum class ReaderAction {
    AllHeaders, ///< checkable, Ctrl+H
    PlainText,  ///< checkable; of a message that has both forms, or HTML alone as text
    Source,     ///< Ctrl+U
    Find,       ///< Ctrl+F
    FindNext,   ///< F3
    FindPrevious,
    ZoomIn,
    ZoomOut,
    ZoomReset,
    Copy,
    SelectAll,
    SaveAttachments,
};
constexpr int kReaderActionCount = int(ReaderAction::SaveAttachments) + 1;

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
    /// Shows the empty state with these texts (emptystate.h).
    void clear(const QString &title = {}, const QString &sentence = {});
    bool isEmpty() const { return !m_hasMessage; }
    const Message &message() const { return m_message; }

    /// Builds the text anew: settings or the look have changed.
    void refresh();

    QAction *action(ReaderAction which) const { return m_actions[std::size_t(which)]; }
    /// The window's own buttons in the header card, before the reader's "More"; null pointers are separators.
    void setHeaderActions(const QList<QAction *> &actions);
    QMenu *moreMenu() const { return m_more; }

    /// Opens a window with the text of the message as it is stored.
    void showSource();
    /// Scrolls on by a page. False: the end was reached before, and it is time for the next message.
    bool pageDown();

    /// The text that is selected; empty when nothing is. Quotation marks are not in it.
    QString selectedText() const;

signals:
    /// A link was clicked and may be followed: its scheme is http, https, mailto, ftp, news or nntp.
    void linkActivated(const QString &target);
    /// The link under the mouse, for the status line; empty when there is none any more.
    void linkHovered(const QString &target);
    /// A clicked link shows one host and leads to another; the bar asks whether to follow it all the same.
    void deceptiveLinkClicked(const QString &shownHost, const QString &targetHost);

protected:
    void changeEvent(QEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    void createActions();
    void createPanes();
    void connectPanes();
    void build();
    void showDocument(std::unique_ptr<BodyDocument> document);
    void showFacts();
    void showRemoteImages();
    void followLink(const QString &target);
    void unfold(int id);
    void unfoldFor(const QString &text);
    void setZoom(double zoom);

    Message m_message;
    ReaderMarks m_marks;
    bool m_hasMessage = false;
    bool m_everything = false;
    double m_zoom = 1;
    std::array<QAction *, kReaderActionCount> m_actions = {};
    QMenu *m_more;
    QAction *m_moreAction = nullptr;
    QStackedLayout *m_stack;
    EmptyState *m_empty;
    QWidget *m_page;
    HeaderCard *m_header;
    AskingBar *m_bar;
    BodyView *m_body;
    FindBar *m_find;
    AttachmentStrip *m_strip;
    AttachmentActions *m_attachments;
    std::unique_ptr<BodyBuilder> m_builder;
    QTimer *m_rest;    ///< writes a long text to its end
    QTimer *m_rebuild; ///< gathers the events of one change of the look
};
