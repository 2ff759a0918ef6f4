#include "ui/identities/identityform.h"

#include "message/address.h"
#include "store/groupstore.h"
#include "ui/look/metrics.h"
#include "ui/look/recolour.h"
#include "ui/look/toolbuttons.h"
#include "ui/texts/harmless.h"
#include "ui/tree/groupbox.h"

#include <QCheckBox>
#include <QComboBox>
#include <QCoreApplication>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalBlocker>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace {

constexpr int kFieldWidth = 50; ///< characters

#define WORDS(text) QT_TRANSLATE_NOOP("IdentityForm", text)

struct LineRow
{
    IdentityField field;
    const char *name; ///< of the widget
    const char *label;
    const char *hint; ///< in the empty field
    QString Identity::*text;
};
constexpr std::array kLines = {
    LineRow{IdentityField::Name, "name", WORDS("&Name"), "", &Identity::name},
    LineRow{IdentityField::Address, "address", WORDS("&Mail address"), WORDS("name@provider"),
            &Identity::address},
    LineRow{IdentityField::ReplyTo, "replyTo", WORDS("&Replies go to"), WORDS("The mail address"),
            &Identity::replyTo},
    LineRow{IdentityField::Organisation, "organisation", WORDS("Or&ganisation"), "", &Identity::organisation},
    LineRow{IdentityField::HostName, "hostName", WORDS("&Host name"), WORDS("That of the mail address"),
            &Identity::hostName},
    LineRow{IdentityField::KeyId, "keyId", WORDS("&Key"), WORDS("User ID of the PGP key"), &Identity::keyId},
};
static_assert(kLines.size() == std::size_t(IdentityField::KeyId) + 1);

QString words(const char *text)
{
    return *text ? QCoreApplication::translate("IdentityForm", text) : QString();
}

bool isHostName(const QString &host)
{
    return std::all_of(host.begin(), host.end(),
                       [](QChar c) { return c.isLetterOrNumber() || c == u'-' || c == u'.' || c == u'_'; });
}

QString replyProblem(const QString &field)
{
    const QList<Address> addresses = parseAddresses(field);
    for (const Address &each : addresses) {
        if (!isValidAddress(each.address))
            return IdentityForm::tr("“%1” is no mail address.")
                .arg(harmlessLine(each.address.isEmpty() ? each.name : each.address, 60));
    }
    return {};
}

} // namespace

QHash<IdentityField, QString> identityProblems(const Identity &identity)
{
    QHash<IdentityField, QString> problems;
    if (identity.address.isEmpty())
        problems.insert(IdentityField::Address, IdentityForm::tr("The identity needs a mail address."));
    else if (!isValidAddress(identity.address))
        problems.insert(IdentityField::Address,
                        IdentityForm::tr("A mail address has the form name@provider, without blanks."));
    if (const QString problem = replyProblem(identity.replyTo); !problem.isEmpty())
        problems.insert(IdentityField::ReplyTo, problem);
    if (!isHostName(identity.hostName))
        problems.insert(IdentityField::HostName,
                        IdentityForm::tr("A host name has letters, digits, dots and hyphens only."));
    return problems;
}

IdentityForm::IdentityForm(const GroupStore &groups, const Identity &identity, QWidget *parent)
    : QWidget(parent)
    , m_groups(groups)
    , m_grid(new QGridLayout(this))
{
    setSurface(this, Role::Base);
    m_grid->setContentsMargins(space::page, space::dialog, space::page, space::dialog);
    m_grid->setHorizontalSpacing(space::group);
    m_grid->setVerticalSpacing(space::between);
    m_grid->setColumnStretch(1, 1);
    addTitle(tr("What others see"));
    for (const IdentityField field :
         {IdentityField::Name, IdentityField::Address, IdentityField::ReplyTo, IdentityField::Organisation})
        addLine(field);
    addSignatureRows(identity);
    addTitle(tr("Where copies are kept"));
    m_sentMail = addFolder(tr("&Sent mail"), "sentMail", tr("The group “Sent mail”"), identity.sentMail);
    m_sentNews = addFolder(tr("Sent ne&ws"), "sentNews", tr("The group “Sent news”"), identity.sentNews);
    addTitle(tr("Technical"));
    addLine(IdentityField::HostName);
    addLine(IdentityField::KeyId);
    m_grid->setRowStretch(m_grid->rowCount(), 1);
    for (const LineRow &row : kLines)
        line(row.field)->setText(identity.*row.text);
    for (const LineRow &row : kLines)
        connect(line(row.field), &QLineEdit::textChanged, this, &IdentityForm::told);
}

void IdentityForm::addTitle(const QString &text)
{
    auto *title = new QLabel(text);
    setFontScale(title, scale::title, QFont::DemiBold);
    title->setContentsMargins(0, m_grid->count() == 0 ? 0 : space::card, 0, 0);
    m_grid->addWidget(title, m_grid->rowCount(), 0, 1, 2);
}

void IdentityForm::addRow(const QString &label, QWidget *shown, QWidget *control, const char *name)
{
    const int at = m_grid->rowCount();
    control->setObjectName(QLatin1StringView(name));
    if (!label.isEmpty())
        control->setAccessibleName(plainName(label));
    auto *words = new QLabel(label);
    setTextRole(words, Role::Text2);
    words->setBuddy(control);
    m_grid->addWidget(words, at, 0, Qt::AlignTrailing | Qt::AlignVCenter);
    m_grid->addWidget(shown, at, 1);
}

void IdentityForm::addLine(IdentityField field)
{
    const LineRow &row = kLines[std::size_t(field)];
    auto *line = new QLineEdit;
    line->setMaximumWidth(columnWidth(kFieldWidth));
    line->setPlaceholderText(words(row.hint));
    if (field == IdentityField::Address || field == IdentityField::ReplyTo)
        line->setInputMethodHints(Qt::ImhEmailCharactersOnly);
    m_lines.insert(field, line);
    addRow(words(row.label), line, line, row.name);
    auto *note = new QLabel;
    note->setObjectName(QLatin1StringView(row.name) + u"Note"_s);
    note->setTextFormat(Qt::PlainText);
    note->setWordWrap(true);
    setTextRole(note, Role::Error);
    note->hide();
    m_notes.insert(field, note);
    m_grid->addWidget(note, m_grid->rowCount(), 1);
}

namespace {

QWidget *beside(QWidget *first, QWidget *second)
{
    auto *part = new QWidget;
    auto *layout = new QHBoxLayout(part);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(space::between);
    layout->addWidget(first);
    layout->addWidget(second);
    layout->addStretch(1);
    return part;
}

QPushButton *newButton(const QString &text, const char *name)
{
    auto *button = new QPushButton(text);
    button->setObjectName(QLatin1StringView(name));
    button->setAutoDefault(false);
    return button;
}

} // namespace

void IdentityForm::addSignatureRows(const Identity &identity)
{
    addTitle(tr("Signature"));
    m_signature = new QComboBox;
    m_signature->setMinimumWidth(columnWidth(kFieldWidth / 2));
    m_signature->addItem(tr("None"), QString());
    QPushButton *signatures = newButton(tr("S&ignatures…"), "signatures");
    addRow(tr("&Below the text"), beside(m_signature, signatures), m_signature, "signature");
    m_separator = addCheck(tr("“-- ” abo&ve it, by which programs know a signature"), "separator",
                           identity.has(IdentityStandardSeparator));
    QPushButton *taglines = newButton(tr("&Taglines…"), "taglines");
    m_taglineCount = new QLabel;
    setTextRole(m_taglineCount, Role::Text2);
    m_tagline = addCheck(tr("A tagline at the &end"), "tagline", identity.has(IdentityTagline),
                         beside(taglines, m_taglineCount));
    connect(m_signature, &QComboBox::currentIndexChanged, this, &IdentityForm::told);
    connect(signatures, &QPushButton::clicked, this, &IdentityForm::signaturesWanted);
    connect(taglines, &QPushButton::clicked, this, &IdentityForm::taglinesWanted);
}

QCheckBox *IdentityForm::addCheck(const QString &text, const char *name, bool on, QWidget *after)
{
    auto *box = new QCheckBox(text);
    box->setAccessibleName(plainName(text));
    box->setChecked(on);
    addRow({}, after ? beside(box, after) : box, box, name);
    connect(box, &QCheckBox::toggled, this, &IdentityForm::told);
    return box;
}

/// The groups as the tree has them, with the path that leads to each.
QComboBox *IdentityForm::addFolder(const QString &label, const char *name, const QString &usual, int number)
{
    auto *box = new QComboBox;
    box->setMaximumWidth(columnWidth(kFieldWidth));
    box->addItem(usual, 0);
    addGroups(*box, m_groups, [](const Group &group) {
        const GroupRole role = group.role();
        return role != GroupRole::Outbox && role != GroupRole::Junk && role != GroupRole::WasteBasket;
    });
    if (box->findData(number) < 0)
        box->addItem(tr("No longer there (%1)").arg(number), number); // kept until another one is chosen
    box->setCurrentIndex(box->findData(number));
    addRow(label, box, box, name);
    connect(box, &QComboBox::currentIndexChanged, this, &IdentityForm::told);
    return box;
}

void IdentityForm::setSignatures(const QStringList &names)
{
    setSignatures(names, m_signature->currentData().toString());
}

void IdentityForm::setSignatures(const QStringList &names, const QString &chosen)
{
    const QSignalBlocker quiet(m_signature);
    m_signature->clear();
    m_signature->addItem(tr("None"), QString());
    for (const QString &name : names)
        m_signature->addItem(harmlessLine(name), name);
    if (m_signature->findData(chosen) < 0)
        m_signature->addItem(tr("No longer there: %1").arg(harmlessLine(chosen)), chosen);
    m_signature->setCurrentIndex(m_signature->findData(chosen));
}

void IdentityForm::setTaglineCount(int count)
{
    m_taglineCount->setText(count == 0   ? tr("none written yet")
                            : count == 1 ? tr("1 tagline")
                                         : tr("%1 taglines").arg(QLocale().toString(count)));
}

Identity IdentityForm::putInto(Identity stored) const
{
    for (const LineRow &row : kLines)
        stored.*row.text = line(row.field)->text().trimmed();
    stored.signature = m_signature->currentData().toString();
    stored.set(IdentityStandardSeparator, m_separator->isChecked());
    stored.set(IdentityTagline, m_tagline->isChecked());
    stored.sentMail = m_sentMail->currentData().toInt();
    stored.sentNews = m_sentNews->currentData().toInt();
    return stored;
}

bool IdentityForm::check()
{
    m_checked = true;
    showProblems();
    const auto problems = identityProblems(putInto({}));
    for (const LineRow &row : kLines) {
        if (!problems.contains(row.field))
            continue;
        line(row.field)->setFocus();
        return false;
    }
    return true;
}

void IdentityForm::showProblems()
{
    const auto problems = m_checked ? identityProblems(putInto({})) : QHash<IdentityField, QString>();
    for (auto it = m_notes.cbegin(); it != m_notes.cend(); ++it) {
        const QString problem = problems.value(it.key());
        it.value()->setText(problem);
        it.value()->setVisible(!problem.isEmpty());
        line(it.key())->setAccessibleDescription(problem);
    }
}

void IdentityForm::told()
{
    showProblems();
    emit changed();
}
