#pragma once

#include "message/message.h"

#include <QWidget>

class Avatar;
class ElidedLabel;
class QAction;
class QBoxLayout;
class QLabel;
class QScrollArea;
class QToolBar;
class RecipientsView;

/// What the user did with a message, as far as its header shows it.
struct ReaderMarks
{
    bool flagged = false;
    bool junk = false;
    bool replied = false;
    bool forwarded = false;
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

    /// In words, with a sign; empty for nothing to say.
    void setVerdict(const QString &icon, const QString &words);

    /// The buttons at the trailing edge; a null pointer is a separator.
    void setActions(const QList<QAction *> &actions);

protected:
    void paintEvent(QPaintEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    void build();
    QBoxLayout *buildTop();
    QBoxLayout *buildSender();
    void fit();
    void showSender(const Message &message);

    Avatar *m_avatar;
    ElidedLabel *m_subject;
    QWidget *m_marks;
    QToolBar *m_actions;
    ElidedLabel *m_name;
    ElidedLabel *m_address;
    QWidget *m_sign;
    ElidedLabel *m_verdict;
    ElidedLabel *m_claim;
    QLabel *m_date;
    RecipientsView *m_recipients;
    QScrollArea *m_recipientsArea;
    QBoxLayout *m_topRow = nullptr;    ///< subject and buttons, one above the other in a narrow pane
    QBoxLayout *m_senderRow = nullptr; ///< name and address likewise
    Address m_sender;
    QString m_verdictIcon;
};
