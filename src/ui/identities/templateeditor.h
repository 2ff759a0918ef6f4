#pragma once

#include "identity/templates.h"
#include "message/message.h"

#include <QDialog>

#include <optional>

class DialogFooter;
class IdentityManager;
class QComboBox;
class QLabel;
class QLineEdit;
class QListView;
class QPlainTextEdit;
class QTimer;
class TemplateVariables;

/// One template: its text, the variables to put into it, and what becomes of it for the message that is open
/// or an example.
class TemplateEditor : public QDialog
{
    Q_OBJECT

public:
    /// @p name: the one to change; empty: a new one. @p current: what the preview answers; empty: an example.
    /// @p identities must outlive this. Deletes itself when it is closed.
    TemplateEditor(const IdentityManager &identities, const Message &current, const QString &name,
                   QWidget *parent = nullptr);

    /// What is shown, as a proposal.
    void setTemplate(const QString &name, const QString &text);

signals:
    void saved(const QString &name);

private:
    void build();
    QWidget *newTextSide();
    QWidget *newVariableSide();
    QWidget *newPreviewHead();
    void fillIdentities(const IdentityManager &identities);
    void insertVariable();
    void showPreview();
    QString problem() const;
    void showProblem();
    void save();
    bool write(const QString &name);

    const QString m_stored; ///< the name in use
    TemplateValues m_values;
    bool m_isExample;
    std::vector<Identity> m_identities; ///< by the box's index
    TemplateVariables *m_variables;
    QLineEdit *m_name;
    QPlainTextEdit *m_text;
    QListView *m_list;
    QComboBox *m_identity;
    QPlainTextEdit *m_preview;
    QLabel *m_hint;
    QLabel *m_problem;
    DialogFooter *m_footer;
    QTimer *m_timer;
};
