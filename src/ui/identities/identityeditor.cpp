#include "ui/identities/identityeditor.h"

#include "engine/engine.h"
#include "identity/signatures.h"
#include "ui/identities/identityform.h"
#include "ui/identities/signaturesdialog.h"
#include "ui/identities/taglinesdialog.h"
#include "ui/look/dialogfooter.h"
#include "ui/look/hairline.h"
#include "ui/look/metrics.h"
#include "ui/look/recolour.h"
#include "ui/look/wheel.h"
#include "ui/texts/harmless.h"

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

constexpr int kWidth = 96; ///< characters
constexpr int kHeight = 38;

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
    : QDialog(parent)
    , m_engine(engine)
    , m_new(identity)
    , m_number(identity.number)
    , m_copied(copied)
{
    setObjectName(u"identityEditor"_s);
    setAttribute(Qt::WA_DeleteOnClose);
    build(identity);
    m_form->setSignatures(signatureNames(m_number > 0 ? m_number : copied), identity.signature);
    showFolder();
    connect(m_form, &IdentityForm::changed, this, [this] { m_apply->setEnabled(true); });
    connect(m_form, &IdentityForm::signaturesWanted, this, &IdentityEditor::openSignatures);
    connect(m_form, &IdentityForm::taglinesWanted, this, &IdentityEditor::openTaglines);
    connect(&engine.identities(), &IdentityManager::changed, this, [this] {
        if (m_number > 0 && !m_engine.identities().identity(m_number))
            reject();
    });
    resize(columnWidth(kWidth), textHeight() * kHeight);
    m_apply->setEnabled(false);
}

void IdentityEditor::build(const Identity &identity)
{
    m_form = new IdentityForm(m_engine.groups(), identity);
    auto *scroll = new QScrollArea;
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setWidgetResizable(true);
    scroll->setFocusPolicy(Qt::NoFocus);
    scroll->setWidget(m_form);
    keepFromWheel(m_form);
    auto *all = new QVBoxLayout(this);
    all->setContentsMargins(0, 0, 0, 0);
    all->setSpacing(0);
    all->addWidget(newHead());
    all->addWidget(new HairLine(Qt::Horizontal, this));
    all->addWidget(scroll, 1);
    all->addWidget(newFooter());
    showHead(identity);
    m_form->line(IdentityField::Name)->setFocus();
}

QWidget *IdentityEditor::newHead()
{
    auto *head = new QWidget;
    m_title = new QLabel;
    m_title->setTextFormat(Qt::PlainText);
    setFontScale(m_title, scale::dialog, QFont::DemiBold);
    m_address = new QLabel;
    m_address->setTextFormat(Qt::PlainText);
    setTextRole(m_address, Role::Text2);
    auto *layout = new QHBoxLayout(head);
    layout->setContentsMargins(space::page, space::dialog, space::page, space::group);
    layout->setSpacing(space::group);
    layout->addWidget(m_title);
    layout->addWidget(m_address, 0, Qt::AlignBottom);
    layout->addStretch(1);
    return head;
}

QWidget *IdentityEditor::newFooter()
{
    auto *footer = new DialogFooter(tr("OK"));
    footer->defaultButton()->setObjectName(u"ok"_s);
    m_apply = footer->addButton(tr("Apply"));
    m_apply->setObjectName(u"apply"_s);
    connect(m_apply, &QPushButton::clicked, this, &IdentityEditor::apply);
    connect(footer, &DialogFooter::rejected, this, &QDialog::reject);
    connect(footer, &DialogFooter::accepted, this, [this] {
        if (apply())
            accept();
    });
    return footer;
}

void IdentityEditor::showHead(const Identity &identity)
{
    const bool isNew = identity.number == 0;
    const QString name = harmlessLine(identity.name.isEmpty() ? identity.address : identity.name, 60);
    m_title->setText(isNew ? tr("New identity") : name);
    m_address->setText(isNew || identity.name.isEmpty() ? QString() : harmlessLine(identity.address, 80));
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
    showHead(*identities.identity(m_number));
    m_apply->setEnabled(false);
    emit saved(m_number);
    return true;
}
