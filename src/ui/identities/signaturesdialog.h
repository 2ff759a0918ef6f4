#pragma once

#include "ui/identities/managerdialog.h"

#include <QStringList>

class IdentityManager;
class SignatureEditor;

/// The signatures of one identity.
class SignaturesDialog : public ManagerDialog
{
    Q_OBJECT

public:
    /// @p identities must outlive this.
    SignaturesDialog(IdentityManager &identities, int identity, QWidget *parent = nullptr);

signals:
    void changed(); ///< their names
    void renamed(const QString &from, const QString &to);

private:
    void fill();
    SignatureEditor *openEditor(const QString &name);
    void copy();
    void askDelete();
    void remove(const QString &name);
    void renameDefault(const QString &from, const QString &to);

    IdentityManager &m_identities;
    const int m_identity;
};
