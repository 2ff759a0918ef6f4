#include "ui/identities/identitiesdialog.h"

#include "engine/engine.h"
#include "ui/identities/identityeditor.h"
#include "ui/identities/identitywindows.h"
#include "ui/texts/harmless.h"

#include <QListView>
#include <QPushButton>

using namespace Qt::StringLiterals;

namespace {

/// The name in lists; one without a name is known by its address.
QString titleOf(const Identity &identity)
{
    return identity.name.isEmpty() ? identity.address : identity.name;
}

QString summaryOf(const Identity &identity)
{
    QStringList parts{identity.address, identity.organisation};
    parts.removeAll(QString());
    return parts.join(u", "_s);
}

} // namespace

IdentitiesDialog::IdentitiesDialog(Engine &engine, QWidget *parent)
    : ManagerDialog(tr("Identities"), parent)
    , m_engine(engine)
{
    setObjectName(u"identitiesDialog"_s);
    setEmpty(tr("No identities yet"), tr("An identity says who you are when you write."),
             tr("New identity…"));
    addUsualButtons({[this] { add(); }, [this] { edit(); }, [this] { copy(); }, [this] { askDelete(); }});
    addGap();
    m_up = addButton(
        tr("&Up"), "up", Needs::ARow, [this] { move(-1); }, Qt::ALT | Qt::Key_Up);
    m_down = addButton(
        tr("Do&wn"), "down", Needs::ARow, [this] { move(1); }, Qt::ALT | Qt::Key_Down);
    addGap();
    m_default = addButton(tr("&Make default"), "default", Needs::ARow, [this] { makeDefault(); });
    connect(&engine.identities(), &IdentityManager::changed, this, &IdentitiesDialog::fill);
    fill();
    list()->setFocus();
}

void IdentitiesDialog::fill()
{
    std::vector<ManagerRow> rows;
    for (const Identity &identity : m_engine.identities().all())
        rows.push_back({identity.number, u"identity"_s, titleOf(identity), summaryOf(identity),
                        identity.has(IdentityDefault) ? tr("Default") : QString()});
    setRows(rows);
}

const Identity *IdentitiesDialog::current() const
{
    return m_engine.identities().identity(currentKey().toInt());
}

void IdentitiesDialog::add()
{
    IdentityEditor *editor = newIdentity(m_engine, {}, this);
    connect(editor, &IdentityEditor::saved, this, [this](int number) { select(number); });
}

void IdentitiesDialog::edit()
{
    if (const Identity *identity = current())
        editIdentity(m_engine, identity->number, this);
}

void IdentitiesDialog::copy()
{
    const Identity *identity = current();
    if (!identity)
        return;
    Identity copy = *identity;
    copy.number = 0;
    copy.set(IdentityDefault, false);
    IdentityEditor *editor = newIdentity(m_engine, copy, this, identity->number);
    connect(editor, &IdentityEditor::saved, this, [this](int number) { select(number); });
}

/// What becomes of what the user does without it.
QString IdentitiesDialog::lossOf(const Identity &identity) const
{
    const QString own = tr("Its signatures and taglines go with it. Messages that were written as it stay as "
                           "they are.");
    const std::vector<Identity> &all = m_engine.identities().all();
    if (all.size() == 1)
        return own + u' ' + tr("It is the only one: without an identity nothing can be written.");
    const Identity &next = all.front().number == identity.number ? all[1] : all.front();
    const QString heir =
        identity.has(IdentityDefault) ? titleOf(next) : titleOf(*m_engine.identities().defaultIdentity());
    return own + u' ' +
           (identity.has(IdentityDefault)
                ? tr("“%1” becomes the default identity, also for the accounts that use this one.")
                : tr("Accounts that use it use “%1” from then on."))
               .arg(harmlessLine(heir, 60));
}

void IdentitiesDialog::askDelete()
{
    const Identity *identity = current();
    if (!identity)
        return;
    askBeforeDelete(tr("Delete the identity “%1”").arg(harmlessLine(titleOf(*identity), 60)),
                    lossOf(*identity), tr("&Delete the identity"),
                    [this, number = identity->number] { remove(number); });
}

/// What refuses says so itself.
void IdentitiesDialog::remove(int number)
{
    if (m_engine.identities().remove(number))
        m_engine.identities().save();
}

void IdentitiesDialog::move(int by)
{
    const Identity *identity = current();
    const int place = currentRow() + by;
    if (!identity || place < 0 || place >= rowCount())
        return;
    m_engine.identities().move(identity->number, place);
    m_engine.identities().save();
}

void IdentitiesDialog::makeDefault()
{
    if (const Identity *identity = current()) {
        m_engine.identities().setDefault(identity->number);
        m_engine.identities().save();
    }
}

void IdentitiesDialog::showState()
{
    ManagerDialog::showState();
    const Identity *identity = current();
    if (!identity)
        return;
    m_up->setEnabled(currentRow() > 0);
    m_down->setEnabled(currentRow() + 1 < rowCount());
    m_default->setEnabled(!identity->has(IdentityDefault));
}
