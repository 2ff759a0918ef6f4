#include "ui/accounts/accountform.h"

#include "identity/identitymanager.h"
#include "net/accountmanager.h"
#include "store/groupstore.h"
#include "ui/accounts/certificatelist.h"
#include "ui/look/metrics.h"
#include "ui/look/recolour.h"
#include "ui/look/toolbuttons.h"
#include "ui/texts/harmless.h"
#include "ui/tree/groupbox.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFileDialog>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QSpinBox>
#include <QToolButton>

using namespace Qt::StringLiterals;

namespace {

constexpr int kFieldWidth = 50; ///< characters
constexpr int kMostPort = 65'535;

QString words(const char *text)
{
    return *text ? QCoreApplication::translate("AccountFields", text) : QString();
}

QString passwordHint(const AccountData &account)
{
    switch (keepingOf(account)) {
    case KeepingChoice::Keyring: return AccountForm::tr("Kept in the keyring; type a new one here");
    case KeepingChoice::AccountsFile: return AccountForm::tr("Kept; type a new one here");
    case KeepingChoice::Ask: break;
    }
    return AccountForm::tr("None is kept");
}

QString nameOf(AccountField field)
{
    return u"field"_s + QString::number(int(field));
}

} // namespace

template <typename Widget>
Widget *AccountForm::as(AccountField field) const
{
    return qobject_cast<Widget *>(m_controls.value(field));
}

AccountForm::AccountForm(AccountManager &accounts, const GroupStore &groups,
                         const IdentityManager &identities, const AccountData &account,
                         const AccountOptions &options, QWidget *parent)
    : QWidget(parent)
    , m_accounts(accounts)
    , m_groups(groups)
    , m_identities(identities)
    , m_data(account)
    , m_options(options)
    , m_encryption(encryptionOf(account))
{
    setSurface(this, Role::Base);
    build();
    told();
}

void AccountForm::build()
{
    auto *grid = new QGridLayout(this);
    grid->setContentsMargins(space::page, space::dialog, space::page, space::dialog);
    grid->setHorizontalSpacing(space::group);
    grid->setVerticalSpacing(space::between);
    grid->setColumnStretch(1, 1);
    const unsigned kind = 1u << unsigned(m_data.kind);
    for (int section = 0; section < kAccountSections; ++section) {
        bool hasTitle = false;
        for (const AccountFieldRow &row : accountFields()) {
            if (int(row.section) != section || !(row.kinds & kind))
                continue;
            if (!hasTitle) {
                auto *title = new QLabel(sectionTitle(row.section));
                setFontScale(title, scale::title, QFont::DemiBold);
                title->setContentsMargins(0, section == 0 ? 0 : space::card, 0, 0);
                grid->addWidget(title, grid->rowCount(), 0, 1, 2);
                hasTitle = true;
            }
            addRow(grid, row);
        }
    }
    grid->setRowStretch(grid->rowCount(), 1);
}

void AccountForm::addRow(QGridLayout *grid, const AccountFieldRow &row)
{
    const int at = grid->rowCount();
    auto *label = new QLabel(words(row.label));
    setTextRole(label, Role::Text2);
    QWidget *shown = newControl(row);
    QWidget *control = m_controls[row.field];
    control->setObjectName(nameOf(row.field));
    if (control->accessibleName().isEmpty())
        control->setAccessibleName(plainName(*row.label ? words(row.label) : words(row.words)));
    label->setBuddy(control);
    auto *note = new QLabel;
    note->setObjectName(nameOf(row.field) + u"note"_s);
    note->setTextFormat(Qt::PlainText);
    note->setWordWrap(true);
    note->hide();
    m_notes.insert(row.field, note);
    const bool isTall = row.field == AccountField::Accepted;
    grid->addWidget(label, at, 0, Qt::AlignTrailing | (isTall ? Qt::AlignTop : Qt::AlignVCenter));
    grid->addWidget(shown, at, 1);
    grid->addWidget(note, at + 1, 1);
}

QWidget *AccountForm::newControl(const AccountFieldRow &row)
{
    switch (row.control) {
    case FieldControl::Line: return newLine(row);
    case FieldControl::Check: return newCheck(row);
    case FieldControl::Amount: return newAmount(row);
    case FieldControl::Choice: return newChoice(row);
    case FieldControl::Own: break;
    }
    return newOwn(row);
}

QWidget *AccountForm::newLine(const AccountFieldRow &row)
{
    auto *line = new QLineEdit(m_data.*row.text);
    line->setMaximumWidth(columnWidth(kFieldWidth));
    m_controls[row.field] = line;
    connect(line, &QLineEdit::textChanged, this, &AccountForm::told);
    return line;
}

QWidget *AccountForm::newCheck(const AccountFieldRow &row)
{
    auto *box = new QCheckBox(words(row.words));
    box->setAccessibleName(plainName(words(row.words)));
    box->setChecked(m_data.flags & row.flag);
    m_controls[row.field] = box;
    connect(box, &QCheckBox::toggled, this, &AccountForm::told);
    return box;
}

/// A check box with the number in the middle of its words.
QWidget *AccountForm::newAmount(const AccountFieldRow &row)
{
    const QString text = words(row.words);
    const int value = m_data.*row.number;
    auto *box = new QCheckBox(text.section(u"%1"_s, 0, 0).trimmed());
    box->setAccessibleName(plainName(QString(text).remove(u"%1"_s)));
    box->setChecked(value > 0);
    auto *amount = new QSpinBox;
    amount->setObjectName(nameOf(row.field) + u"amount"_s);
    amount->setAccessibleName(plainName(QString(text).remove(u"%1"_s)));
    amount->setRange(1, row.most);
    amount->setValue(value > 0 ? value : row.proposed);
    amount->setEnabled(box->isChecked());
    m_controls[row.field] = box;
    m_amounts[row.field] = amount;
    connect(box, &QCheckBox::toggled, amount, &QWidget::setEnabled);
    connect(box, &QCheckBox::toggled, this, &AccountForm::told);
    connect(amount, &QSpinBox::valueChanged, this, &AccountForm::told);
    auto *part = new QWidget;
    auto *layout = new QHBoxLayout(part);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(space::between);
    layout->addWidget(box);
    layout->addWidget(amount);
    layout->addWidget(new QLabel(text.section(u"%1"_s, 1).trimmed()));
    layout->addStretch(1);
    return part;
}

QWidget *AccountForm::newChoice(const AccountFieldRow &row)
{
    auto *box = new QComboBox;
    box->setMaximumWidth(columnWidth(kFieldWidth));
    fillChoice(box, row.field);
    const int value = m_data.*row.number;
    if (box->findData(value) < 0)
        box->addItem(tr("No longer there (%1)").arg(value), value); // kept until another one is chosen
    box->setCurrentIndex(box->findData(value));
    m_controls[row.field] = box;
    connect(box, &QComboBox::currentIndexChanged, this, &AccountForm::told);
    return box;
}

void AccountForm::fillChoice(QComboBox *box, AccountField field) const
{
    switch (field) {
    case AccountField::Group:
        box->addItem(tr("The inbox"), 0);
        addGroups(*box, m_groups, [](const Group &group) {
            return group.role() != GroupRole::Outbox && group.role() != GroupRole::Inbox;
        });
        break;
    case AccountField::Chained:
        box->addItem(tr("Nothing else"), 0);
        for (const auto &account : m_accounts.accounts())
            if (account->number() != m_data.number)
                box->addItem(harmlessLine(account->name()), account->number());
        break;
    default:
        box->addItem(m_data.kind == AccountKind::Smtp ? tr("Every identity without an account of its own")
                                                      : tr("The default identity"),
                     0);
        for (const Identity &identity : m_identities.all())
            box->addItem(harmlessLine(identity.display()), identity.number);
        break;
    }
}

QWidget *AccountForm::newOwn(const AccountFieldRow &row)
{
    switch (row.field) {
    case AccountField::File: return newPath(row.field, m_data.host, tr("Mailbox file"));
    case AccountField::Encryption: return newEncryption();
    case AccountField::Port: return newPort();
    case AccountField::Password: return newPassword();
    case AccountField::Keeping: return newKeeping();
    case AccountField::CaFile: return newPath(row.field, m_options.caFile, tr("Certificates to trust"));
    default: return newAccepted();
    }
}

QWidget *AccountForm::newEncryption()
{
    auto *box = new QComboBox;
    box->addItem(tr("None"), int(Encryption::None));
    box->addItem(tr("STARTTLS, after a plain greeting"), int(Encryption::StartTls));
    box->addItem(tr("TLS from the start"), int(Encryption::Tls));
    box->setCurrentIndex(box->findData(int(m_encryption)));
    box->setMaximumWidth(columnWidth(kFieldWidth));
    m_controls[AccountField::Encryption] = box;
    connect(box, &QComboBox::currentIndexChanged, this, &AccountForm::encryptionChanged);
    return box;
}

/// The port follows as long as it is the usual one.
void AccountForm::encryptionChanged()
{
    const auto wanted = Encryption(as<QComboBox>(AccountField::Encryption)->currentData().toInt());
    auto *port = as<QSpinBox>(AccountField::Port);
    if (port->value() == usualPort(m_data.kind, m_encryption))
        port->setValue(usualPort(m_data.kind, wanted));
    m_encryption = wanted;
    told();
}

QWidget *AccountForm::newPort()
{
    auto *port = new QSpinBox;
    port->setRange(1, kMostPort);
    port->setValue(m_data.port > 0 ? m_data.port : usualPort(m_data.kind, m_encryption));
    port->setMaximumWidth(columnWidth(12));
    m_controls[AccountField::Port] = port;
    connect(port, &QSpinBox::valueChanged, this, &AccountForm::told);
    return port;
}

QWidget *AccountForm::newPassword()
{
    auto *line = new QLineEdit;
    line->setEchoMode(QLineEdit::Password);
    line->setMaximumWidth(columnWidth(kFieldWidth));
    line->setPlaceholderText(passwordHint(m_data));
    auto *show = new QCheckBox(tr("Sho&w"));
    show->setAccessibleName(tr("Show the password"));
    connect(show, &QCheckBox::toggled, line,
            [line](bool on) { line->setEchoMode(on ? QLineEdit::Normal : QLineEdit::Password); });
    m_controls[AccountField::Password] = line;
    connect(line, &QLineEdit::textChanged, this, &AccountForm::told);
    auto *part = new QWidget;
    auto *layout = new QHBoxLayout(part);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(space::between);
    layout->addWidget(line, 1);
    layout->addWidget(show);
    layout->addStretch();
    return part;
}

QWidget *AccountForm::newKeeping()
{
    auto *box = new QComboBox;
    box->setMaximumWidth(columnWidth(kFieldWidth));
    m_controls[AccountField::Keeping] = box;
    if (keepingOf(m_data) == KeepingChoice::Keyring)
        offerKeyring();
    box->addItem(tr("In a file of Velmar that only you can read"), int(KeepingChoice::AccountsFile));
    box->addItem(tr("Nowhere: Velmar asks each time it starts"), int(KeepingChoice::Ask));
    const bool isNew = m_data.number == 0 && !m_data.has(AccountAsksForPassword);
    const KeepingChoice shown = isNew ? KeepingChoice::AccountsFile : keepingOf(m_data);
    box->setCurrentIndex(box->findData(int(shown)));
    connect(box, &QComboBox::currentIndexChanged, this, &AccountForm::told);
    return box;
}

void AccountForm::offerKeyring()
{
    auto *box = as<QComboBox>(AccountField::Keeping);
    if (box && box->findData(int(KeepingChoice::Keyring)) < 0)
        box->insertItem(0, tr("In the desktop's keyring"), int(KeepingChoice::Keyring));
}

QWidget *AccountForm::newPath(AccountField field, const QString &path, const QString &title)
{
    auto *line = new QLineEdit(path);
    line->setMaximumWidth(columnWidth(kFieldWidth));
    if (field == AccountField::CaFile)
        line->setPlaceholderText(tr("Certificates in a file (PEM)"));
    QToolButton *choose = newToolButton(u"folder"_s, tr("Choose a file"), this);
    m_controls[field] = line;
    connect(line, &QLineEdit::textChanged, this, &AccountForm::told);
    connect(choose, &QToolButton::clicked, this, [this, line, title, field] {
        auto *files = new QFileDialog(this, title, QFileInfo(line->text()).path());
        files->setAttribute(Qt::WA_DeleteOnClose);
        files->setFileMode(field == AccountField::File ? QFileDialog::AnyFile : QFileDialog::ExistingFile);
        connect(files, &QFileDialog::fileSelected, line, &QLineEdit::setText);
        files->open();
    });
    auto *part = new QWidget;
    auto *layout = new QHBoxLayout(part);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(space::inner);
    layout->addWidget(line, 1);
    layout->addWidget(choose);
    layout->addStretch();
    return part;
}

QWidget *AccountForm::newAccepted()
{
    auto *list = new CertificateList(m_options.accepted);
    m_controls[AccountField::Accepted] = list;
    connect(list, &CertificateList::changed, this, &AccountForm::told);
    return list;
}

AccountData AccountForm::data() const
{
    AccountData data = m_data;
    const unsigned kind = 1u << unsigned(m_data.kind);
    for (const AccountFieldRow &row : accountFields()) {
        if (!(row.kinds & kind))
            continue;
        if (row.text)
            data.*row.text = as<QLineEdit>(row.field)->text().trimmed();
        else if (row.control == FieldControl::Check)
            data.set(AccountFlag(row.flag), as<QCheckBox>(row.field)->isChecked());
        else if (row.control == FieldControl::Amount)
            data.*row.number = as<QCheckBox>(row.field)->isChecked() ? m_amounts[row.field]->value() : 0;
        else if (row.control == FieldControl::Choice)
            data.*row.number = as<QComboBox>(row.field)->currentData().toInt();
    }
    if (m_data.kind == AccountKind::BatchFile) {
        data.host = as<QLineEdit>(AccountField::File)->text().trimmed();
        return data;
    }
    setEncryption(data, m_encryption);
    data.port = as<QSpinBox>(AccountField::Port)->value();
    data.set(AccountAsksForPassword, keeping() == KeepingChoice::Ask);
    return data;
}

AccountOptions AccountForm::options() const
{
    AccountOptions options = m_options;
    if (const auto *path = as<QLineEdit>(AccountField::CaFile))
        options.caFile = path->text().trimmed();
    if (const auto *list = as<CertificateList>(AccountField::Accepted))
        options.accepted = list->certificates();
    return options;
}

void AccountForm::setStored(const AccountData &account, const AccountOptions &options)
{
    m_data = account;
    m_options = options;
    auto *line = as<QLineEdit>(AccountField::Password);
    if (!line)
        return;
    const QSignalBlocker quiet(line);
    line->clear();
    line->setPlaceholderText(passwordHint(account));
}

QString AccountForm::enteredPassword() const
{
    const auto *line = as<QLineEdit>(AccountField::Password);
    return line ? line->text() : QString();
}

KeepingChoice AccountForm::keeping() const
{
    const auto *box = as<QComboBox>(AccountField::Keeping);
    return box ? KeepingChoice(box->currentData().toInt()) : KeepingChoice::Ask;
}

QStringList AccountForm::takenNames() const
{
    QStringList names;
    for (const auto &account : m_accounts.accounts())
        if (account->number() != m_data.number)
            names.append(account->name());
    return names;
}

bool AccountForm::check()
{
    m_checked = true;
    showNotes(true);
    const auto problems = accountProblems(data(), options(), takenNames());
    for (const AccountFieldRow &row : accountFields()) {
        if (!problems.contains(row.field))
            continue;
        m_controls[row.field]->setFocus();
        return false;
    }
    return true;
}

void AccountForm::showNotes(bool withProblems)
{
    const AccountData now = data();
    const auto problems =
        withProblems ? accountProblems(now, options(), takenNames()) : QHash<AccountField, QString>();
    const auto warnings = accountWarnings(now);
    for (auto it = m_notes.cbegin(); it != m_notes.cend(); ++it) {
        const QString problem = problems.value(it.key());
        const QString text = problem.isEmpty() ? warnings.value(it.key()) : problem;
        setTextRole(it.value(), problem.isEmpty() ? Role::Warning : Role::Error);
        it.value()->setText(text);
        it.value()->setVisible(!text.isEmpty());
        m_controls[it.key()]->setAccessibleDescription(text);
    }
}

void AccountForm::told()
{
    if (m_controls.value(AccountField::Accepted) || m_data.kind == AccountKind::BatchFile)
        showNotes(m_checked); // not while the fields are still being made
    if (auto *days = as<QCheckBox>(AccountField::DaysOnServer)) {
        const bool stays = as<QCheckBox>(AccountField::LeaveOnServer)->isChecked();
        days->setEnabled(stays);
        m_amounts[AccountField::DaysOnServer]->setEnabled(stays && days->isChecked());
    }
    emit changed();
}
