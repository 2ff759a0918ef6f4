#pragma once

#include "compose/composition.h"
#include "ui/compose/recipientedit.h"

#include <QWidget>

#include <array>

class ExtraFields;
class QComboBox;
class QGridLayout;
class QHBoxLayout;
class QLabel;
class QLineEdit;
class QPushButton;

/// The entry fields above the text, one below the other on one text edge: sender, recipients, subject. Those
/// that are rarely wanted hide until they hold something or are asked for.
class ComposeHeader : public QWidget
{
    Q_OBJECT

public:
    enum class Field {
        To,
        Cc,
        Bcc,
        ReplyTo,
        Newsgroups,
        FollowupTo,
        Distribution,
        Subject,
    };
    static constexpr int kFieldCount = int(Field::Subject) + 1;

    explicit ComposeHeader(QWidget *parent = nullptr);

    void setIdentities(const std::vector<Identity> &identities, int current);
    int identity() const; ///< its number; 0: there is none

    void show(const Composition &composition);
    void read(Composition &composition) const; ///< all but the identity's own values

    /// Shows or hides a field; hiding one that holds something is not done.
    void setShown(Field field, bool shown);
    bool isShown(Field field) const;
    void setNews(bool news); ///< the fields of an article, or of a mail

    /// The rows for header lines of the user's own (`EditHeaders`); those that hold something stay.
    void setExtraShown(bool shown);
    bool extraIsShown() const;
    ExtraFields &extra() { return *m_extra; }

    /// Everybody whom To and Cc name becomes a recipient whom nobody else sees.
    void moveToBcc();

    void setText(Field field, const QString &text);
    QString text(Field field) const;
    RecipientEdit *recipients(Field field) const; ///< null where a field has none

    void setProposals(const RecipientEdit::Proposals &proposals);
    void setJudge(const RecipientEdit::Judge &judge);
    void judgeAgain();

    /// To, or the subject where that is set, and nothing where both are.
    bool focusFirstEmpty();
    QWidget *lastField() const;

    /// Makes pills of what was typed.
    void commit();

signals:
    void changed();
    void identityChosen(int number);
    void leaveDown(); ///< Enter in the last field
    void shownChanged(ComposeHeader::Field field, bool shown);

protected:
    void paintEvent(QPaintEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    struct Row
    {
        QLabel *label = nullptr;
        QWidget *line = nullptr;
        RecipientEdit *people = nullptr;
        QLineEdit *words = nullptr;
    };

    void addFrom();
    void addRow(Field field);
    void addExtra();
    void alignExtra();
    Row &row(Field field) { return m_rows[std::size_t(field)]; }
    const Row &row(Field field) const { return m_rows[std::size_t(field)]; }
    void next(Field field);
    QWidget *entryOf(Field field) const;

    QGridLayout *m_grid;
    QComboBox *m_from;
    QLabel *m_fromLabel;
    ExtraFields *m_extra = nullptr;
    std::array<Row, kFieldCount> m_rows;
    std::array<QPushButton *, kFieldCount> m_buttons = {}; ///< that show a hidden field
};
