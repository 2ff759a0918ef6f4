#pragma once

#include "ui/compose/recipientpills.h"

#include <QAbstractScrollArea>
#include <QStringList>

#include <functional>

class QCompleter;
class QLineEdit;
class QStandardItemModel;

/// A field of recipients: each is a pill that shows a name, with its address as tool tip; behind the last one
/// new ones are typed. A comma, a semicolon, Enter or leaving the field make pills of what was typed. Pills
/// are chosen with the arrows and the mouse, copied, cut, deleted, edited (F2) and dragged to other fields.
class RecipientEdit : public QAbstractScrollArea
{
    Q_OBJECT

public:
    explicit RecipientEdit(QWidget *parent = nullptr);

    void setText(const QString &text); ///< as of a header field
    QString text() const;              ///< with what was typed and is no pill yet
    bool isEmpty() const { return text().isEmpty(); }

    /// One proposal while somebody types.
    struct Proposal
    {
        Address address;
        bool collected = false; ///< only seen in received mail: shown so, and below the others
    };
    using Proposals = std::function<QList<Proposal>(const QString &beginning)>;
    void setProposals(Proposals proposals) { m_proposals = std::move(proposals); }

    /// Says why an address looks wrong, or nothing; asked when a pill is made and by judgeAgain().
    using Judge = std::function<QString(const Address &)>;
    void setJudge(Judge judge);
    void judgeAgain();

    /// Makes pills of what was typed.
    void commit();

    /// Puts @p replacement in the place of the pill with @p address.
    void replace(const QString &address, const Address &replacement);

    QLineEdit *entry() const { return m_entry; }
    const RecipientPills &pills() const { return m_pills; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;

signals:
    void changed();
    void leaveDown(); ///< Enter with nothing typed: on to the next field

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    bool viewportEvent(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void scrollContentsBy(int dx, int dy) override;
    void changeEvent(QEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dragMoveEvent(QDragMoveEvent *event) override;
    void dragLeaveEvent(QDragLeaveEvent *event) override;
    void dropEvent(QDropEvent *event) override;

private:
    RecipientPills::Sizes sizes(int width) const;
    int pillWidth(const RecipientPill &pill) const;
    QRect shown(const QRect &place) const;
    QRect crossOf(const QRect &place) const;
    QPoint contentsPoint(const QPoint &point) const;
    void arrange();
    void paintPill(QPainter &painter, const RecipientPill &pill);
    void insert(int index, const QList<Address> &addresses);
    void afterChange();
    bool entryKey(QKeyEvent *event);
    void typed(const QString &text);
    void propose(const QString &beginning);
    void edit(int index);
    void move(int by, bool extend);
    bool paste();
    void copySelected() const;
    void removeSelected();
    void drag();
    void speak();

    RecipientPills m_pills;
    QLineEdit *m_entry;
    QCompleter *m_completer;
    QStandardItemModel *m_model;
    Proposals m_proposals;
    Judge m_judge;
    QPoint m_pressed;
    int m_pressedPill = -1;
    int m_dropAt = -1;
    int m_contents = 0; ///< height of all lines
};
