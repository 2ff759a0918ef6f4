#include "ui/identities/identityeditor.h"

#include "engine/engine.h"
#include "identity/signatures.h"
#include "ui/identities/identityform.h"
#include "ui/identities/signaturesdialog.h"
#include "ui/identities/taglinesdialog.h"
#include "ui/texts/harmless.h"

#include <QLineEdit>

using namespace Qt::StringLiterals;

namespace {

/// Signatures and taglines of @p from under the number @p to.
void copyFolder(int from, int to)
{
    for (const QString &name : signatureNames(from)) {
        if (const auto signature = readSignature(from, name))
            writeSignature(to, *signature);
    }
    if (const QStringList taglines = readTaglines(from); !taglines.isEmpty())
        writeTaglines(to, taglines);
}

} // namespace

IdentityEditor::IdentityEditor(Engine &engine, const Identity &identity, QWidget *parent, int copied)
    : EditorDialog(parent)
    , m_engine(engine)
    , m_new(identity)
    , m_number(identity.number)
    , m_copied(copied)
{
    setObjectName(u"identityEditor"_s);
    m_form = new IdentityForm(m_engine.groups(), identity);
    build(m_form);
    showName(identity);
    m_form->line(IdentityField::Name)->setFocus();
    m_form->setSignatures(signatureNames(m_number > 0 ? m_number : copied), identity.signature);
    showFolder();
    connect(m_form, &IdentityForm::changed, this, [this] { setChanged(true); });
    connect(m_form, &IdentityForm::signaturesWanted, this, &IdentityEditor::openSignatures);
    connect(m_form, &IdentityForm::taglinesWanted, this, &IdentityEditor::openTaglines);
    connect(&engine.identities(), &IdentityManager::changed, this, [this] {
        if (m_number > 0 && !m_engine.identities().identity(m_number))
            reject();
    });
}

void IdentityEditor::showName(const Identity &identity)
{
    const bool isNew = identity.number == 0;
    const QString name = harmlessLine(identity.name.isEmpty() ? identity.address : identity.name, 60);
    showHead(isNew ? tr("New identity") : name,
             isNew || identity.name.isEmpty() ? QString() : harmlessLine(identity.address, 80));
    setWindowTitle(isNew ? tr("New identity") : tr("Identity “%1”").arg(name));
}

void IdentityEditor::showFolder()
{
    const int folder = m_number > 0 ? m_number : m_copied;
    m_form->setSignatures(signatureNames(folder));
    m_form->setTaglineCount(int(readTaglines(folder).size()));
}

/// What has a folder of its own needs a number.
bool IdentityEditor::isEntered()
{
    return m_number > 0 || apply();
}

void IdentityEditor::openSignatures()
{
    if (!isEntered())
        return;
    auto *dialog = new SignaturesDialog(m_engine.identities(), m_number, this);
    connect(dialog, &SignaturesDialog::changed, this, &IdentityEditor::showFolder);
    connect(dialog, &SignaturesDialog::renamed, this, [this](const QString &from, const QString &to) {
        const QString chosen = m_form->putInto({}).signature;
        m_form->setSignatures(signatureNames(m_number), chosen == from ? to : chosen);
    });
    dialog->open();
}

void IdentityEditor::openTaglines()
{
    if (!isEntered())
        return;
    auto *dialog = new TaglinesDialog(m_number, this);
    connect(dialog, &QDialog::accepted, this, &IdentityEditor::showFolder);
    dialog->open();
}

bool IdentityEditor::apply()
{
    if (!m_form->check())
        return false;
    IdentityManager &identities = m_engine.identities();
    const Identity *stored = m_number > 0 ? identities.identity(m_number) : nullptr;
    const Identity entered = m_form->putInto(stored ? *stored : m_new);
    if (stored)
        identities.update(entered);
    else
        m_number = identities.add(entered);
    if (!stored && m_copied > 0)
        copyFolder(m_copied, m_number);
    if (!identities.save())
        return false; // which has said so
    showName(*identities.identity(m_number));
    setChanged(false);
    emit saved(m_number);
    return true;
}
