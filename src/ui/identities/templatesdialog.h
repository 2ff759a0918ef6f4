#pragma once

#include "message/message.h"
#include "ui/identities/managerdialog.h"

class IdentityManager;
class TemplateEditor;

/// The templates for new messages, replies and forwards.
class TemplatesDialog : public ManagerDialog
{
    Q_OBJECT

public:
    /// @p identities must outlive this. Previews show @p current, the message that is open at the moment; an
    /// empty one means an example.
    TemplatesDialog(const IdentityManager &identities, const Message &current, QWidget *parent = nullptr);

signals:
    void changed(); ///< which there are, or their texts

private:
    void fill();
    TemplateEditor *openEditor(const QString &name);
    void copy();
    void askDelete();

    const IdentityManager &m_identities;
    const Message m_current;
};
