#pragma once

#include "identity/identity.h"

#include <QHash>
#include <QWidget>

#include <span>

class GroupStore;
class QCheckBox;
class QComboBox;
class QGridLayout;
class QLabel;
class QLineEdit;
class QPushButton;
class QVBoxLayout;

enum class IdentityField { Name, Address, ReplyTo, Organisation, HostName, KeyId };

/// What is wrong with @p identity, by field, in sentences; empty: nothing.
QHash<IdentityField, QString> identityProblems(const Identity &identity);

/// All that an identity is, under titles, labels to one column, each text with its problem in place. It
/// changes nothing but itself.
class IdentityForm : public QWidget
{
    Q_OBJECT

public:
    /// @p groups must outlive this.
    IdentityForm(const GroupStore &groups, const Identity &identity, QWidget *parent = nullptr);

    /// @p stored with what is entered put into it.
    Identity putInto(Identity stored) const;

    /// The signatures to choose from; the choice stays where it can, or becomes @p chosen.
    void setSignatures(const QStringList &names);
    void setSignatures(const QStringList &names, const QString &chosen);
    void setTaglineCount(int count);

    /// Shows what is wrong in its place. False, and the first such field has the keyboard, when there is
    /// something.
    bool check();

    QLineEdit *line(IdentityField field) const { return m_lines.value(field); }

signals:
    void changed();
    void signaturesWanted();
    void taglinesWanted();

private:
    void addTitle(const QString &text);
    void addLine(IdentityField field);
    void addRow(const QString &label, QWidget *shown, QWidget *control, const char *name);
    void addSignatureRows(const Identity &identity);
    QComboBox *addFolder(const QString &label, const char *name, const QString &usual, int number);
    QCheckBox *addCheck(const QString &text, const char *name, bool on, QWidget *beside = nullptr);
    void showProblems();
    void told();

    const GroupStore &m_groups;
    QGridLayout *m_grid;
    QHash<IdentityField, QLineEdit *> m_lines;
    QHash<IdentityField, QLabel *> m_notes;
    QComboBox *m_signature = nullptr;
    QCheckBox *m_separator = nullptr;
    QCheckBox *m_tagline = nullptr;
    QLabel *m_taglineCount = nullptr;
    QComboBox *m_sentMail = nullptr;
    QComboBox *m_sentNews = nullptr;
    bool m_checked = false; ///< problems are shown from the first attempt on
};
