#pragma once

#include "message/message.h"

#include <QWidget>

class Avatar;
class ElidedLabel;
class PersonActions;
class QAction;
class QBoxLayout;
class QLabel;
class QScrollArea;
class QToolBar;
class RecipientsView;
class SenderView;
class SubjectLabel;
class TagPills;

/// What the user did with a message, as far as its header shows it.
struct ReaderMarks
{
    bool flagged = false;
    bool junk = false;
    bool replied = false;
    bool forwarded = false;
    qint64 repliedOn = 0;      ///< seconds since 1970 UTC; 0 where it is not known
    qint64 onServer = 0;       ///< only the header is here: bytes of the whole on its server; else 0
    bool restIsComing = false; ///< the whole was asked for
};

/// A word that the user gave a message, in a colour made of @p hue (colours.h).
struct HeaderTag
{
    QString name;
    int hue = -1;
};

/// Who wrote what to whom and when, above the text: nothing in it is ever taken for markup, and every address
/// is shown in full.
class HeaderCard : public QWidget
{
    Q_OBJECT

public:
    explicit HeaderCard(QWidget *parent = nullptr);

    void showMessage(const Message &message, const ReaderMarks &marks);

    void setMarks(const ReaderMarks &marks);

    /// Beside the subject, in this order, until others are set.
    void setTags(const QList<HeaderTag> &tags);

    /// The menus of the people; the window connects to it and may add rows.
    PersonActions *people() const { return m_people; }

    /// In words, with a sign; empty for nothing to say.
    void setVerdict(const QString &icon, const QString &words);

    /// The buttons at the trailing edge; a null pointer is a separator.
    void setActions(const QList<QAction *> &actions);

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void showEvent(QShowEvent *event) override;

private:
    void build();
    QBoxLayout *buildTop();
    QBoxLayout *buildSender();
    void fit();
    void showSender(const Message &message);
    void showDate(const Message &message);

    Avatar *m_avatar;
    SubjectLabel *m_subject;
    TagPills *m_tags;
    QWidget *m_marks;
    QToolBar *m_actions;
    SenderView *m_sender;
    QWidget *m_sign;
    ElidedLabel *m_verdict;
    ElidedLabel *m_claim;
    QLabel *m_date;
    RecipientsView *m_recipients;
    QScrollArea *m_recipientsArea;
    PersonActions *m_people;
    QBoxLayout *m_titleRow = nullptr;  ///< subject, tags, marks
    QBoxLayout *m_topRow = nullptr;    ///< subject and buttons, one above the other in a narrow pane
    QBoxLayout *m_senderRow = nullptr; ///< sender, what is said of them, and date likewise
};
