#pragma once

#include "ui/identities/managerdialog.h"

class Engine;
struct Identity;

/// The identities: makes, changes, copies, orders and removes them, and says which is the default one.
class IdentitiesDialog : public ManagerDialog
{
    Q_OBJECT

public:
    /// @p engine must outlive this.
    explicit IdentitiesDialog(Engine &engine, QWidget *parent = nullptr);

private:
    void fill();
    const Identity *current() const;
    void add();
    void edit();
    void copy();
    QString lossOf(const Identity &identity) const;
    void askDelete();
    void remove(int number);
    void move(int by);
    void makeDefault();
    void showState() override;

    Engine &m_engine;
    QPushButton *m_up;
    QPushButton *m_down;
    QPushButton *m_default;
};
