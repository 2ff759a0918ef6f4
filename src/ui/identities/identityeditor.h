#pragma once

#include "identity/identity.h"
#include "ui/look/editordialog.h"

class Engine;
class IdentityForm;

/// All that can be set of one identity. OK and Apply change it at once; what is wrong is said at its field.
class IdentityEditor : public EditorDialog
{
    Q_OBJECT

public:
    /// @p identity is one of the engine's, or with number 0 one that OK enters, with the signatures and
    /// taglines of the identity @p copied. Deletes itself when it is closed.
    IdentityEditor(Engine &engine, const Identity &identity, QWidget *parent = nullptr, int copied = 0);

    int identity() const { return m_number; }
    IdentityForm &form() const { return *m_form; }

signals:
    void saved(int identity);

private:
    void showName(const Identity &identity);
    void showFolder();
    void openSignatures();
    void openTaglines();
    bool apply() override;
    bool isEntered();

    Engine &m_engine;
    Identity m_new; ///< with what the form does not show, while it is not entered
    int m_number;
    int m_copied;
    IdentityForm *m_form = nullptr;
};
