#include "ui/identities/signaturesdialog.h"

#include "identity/identitymanager.h"
#include "identity/signatures.h"
#include "ui/identities/freename.h"
#include "ui/identities/signatureeditor.h"
#include "ui/texts/harmless.h"

#include <QListView>
#include <QPushButton>

using namespace Qt::StringLiterals;

namespace {

constexpr std::array kIcons = {"font", "colour", "play"}; // by Signature::Kind
static_assert(kIcons.size() == std::size_t(Signature::Kind::Command) + 1);

/// Its first line says which it is.
QString summaryOf(const Signature &signature)
{
    const QString first = signature.text.section(u'\n', 0, 0, QString::SectionSkipEmpty).trimmed();
    switch (signature.kind) {
    case Signature::Kind::Plain: return first;
    case Signature::Kind::Html: return SignaturesDialog::tr("Formatted (HTML)");
    case Signature::Kind::Command: return SignaturesDialog::tr("What this prints: %1").arg(first);
    }
    return {};
}

} // namespace

SignaturesDialog::SignaturesDialog(IdentityManager &identities, int identity, QWidget *parent)
    : ManagerDialog(tr("Signatures"), parent)
    , m_identities(identities)
    , m_identity(identity)
{
    setObjectName(u"signaturesDialog"_s);
    setEmpty(tr("No signatures yet"), tr("A signature stands below the text of every message."),
             tr("New signature…"));
    addUsualButtons({[this] { openEditor({}); }, [this] { openEditor(currentKey().toString()); },
                     [this] { copy(); }, [this] { askDelete(); }});
    fill();
    list()->setFocus();
}

void SignaturesDialog::fill()
{
    const Identity *identity = m_identities.identity(m_identity);
    std::vector<ManagerRow> rows;
    for (const QString &name : signatureNames(m_identity)) {
        const std::optional<Signature> stored = readSignature(m_identity, name);
        const Signature signature = stored.value_or(Signature());
        const bool isDefault = identity && identity->signature == name;
        rows.push_back({name, QLatin1StringView(kIcons[std::size_t(signature.kind)]), name,
                        stored ? summaryOf(signature) : tr("Its file cannot be read"),
                        isDefault ? tr("Default") : QString()});
    }
    setRows(rows);
}

SignatureEditor *SignaturesDialog::openEditor(const QString &name)
{
    auto *editor = new SignatureEditor(m_identity, name, this);
    connect(editor, &SignatureEditor::saved, this, [this](const QString &from, const QString &to) {
        if (!from.isEmpty() && from != to)
            renameDefault(from, to);
        fill();
        select(to);
        emit changed();
    });
    editor->open();
    return editor;
}

void SignaturesDialog::copy()
{
    auto signature = readSignature(m_identity, currentKey().toString());
    if (!signature)
        return;
    signature->name = freeName(tr("Copy of %1").arg(signature->name), signatureNames(m_identity));
    openEditor({})->setSignature(*signature);
}

void SignaturesDialog::askDelete()
{
    const QString name = currentKey().toString();
    if (name.isEmpty())
        return;
    askBeforeDelete(tr("Delete the signature “%1”").arg(harmlessLine(name, 60)),
                    tr("Messages that end with it stay as they are."), tr("&Delete the signature"),
                    [this, name] { remove(name); });
}

void SignaturesDialog::remove(const QString &name)
{
    if (!removeSignature(m_identity, name))
        return;
    renameDefault(name, {});
    fill();
    emit changed();
}

/// The identity follows the name that it knows its default signature by.
void SignaturesDialog::renameDefault(const QString &from, const QString &to)
{
    const Identity *identity = m_identities.identity(m_identity);
    if (identity && identity->signature == from) {
        Identity changed = *identity;
        changed.signature = to;
        m_identities.update(changed);
        m_identities.save();
    }
    emit renamed(from, to);
}
