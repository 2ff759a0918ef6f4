#pragma once

#include "identity/signaturecommand.h"
#include "identity/signatures.h"

#include <QDialog>

class DialogFooter;
class Panel;
class QComboBox;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QPushButton;
class QTextBrowser;
class QTimer;

/// One signature: plain text, HTML with its look beside it, or a command that can be tried.
class SignatureEditor : public QDialog
{
    Q_OBJECT

public:
    /// @p name: the one to change; empty: a new one. Deletes itself when it is closed.
    SignatureEditor(int identity, const QString &name, QWidget *parent = nullptr);
    ~SignatureEditor() override;

    /// What is shown, as a proposal.
    void setSignature(const Signature &signature);

signals:
    /// It is in its file; @p from is the name it had, empty for a new one.
    void saved(const QString &from, const QString &to);

private:
    void build();
    QWidget *newFields();
    QWidget *newPreview();
    Signature signature() const;
    Signature::Kind kind() const;
    void kindChosen();
    void showLook();
    void tryCommand();
    void commandEnded(const QString &text, const QString &problem);
    QString problem() const;
    void showProblem();
    void showUnreadable(const QString &name);
    void save();
    bool write(const Signature &now);

    const int m_identity;
    const QString m_stored; ///< the name in use
    bool m_isUnreadable = false;
    SignatureCommand m_command;
    QLineEdit *m_name;
    QComboBox *m_kind;
    QLabel *m_hint;
    QPlainTextEdit *m_text;
    QWidget *m_preview = nullptr;
    QLabel *m_previewTitle = nullptr;
    QTextBrowser *m_look = nullptr;
    QPushButton *m_try = nullptr;
    QLabel *m_problem;
    DialogFooter *m_footer;
    QTimer *m_timer;
};
