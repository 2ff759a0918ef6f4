#include "ui/identities/signatureeditor.h"

#include "html/sanitizer.h"
#include "identity/oneline.h"
#include "ui/look/dialogfooter.h"
#include "ui/look/fixedfont.h"
#include "ui/look/metrics.h"
#include "ui/look/recolour.h"
#include "ui/look/toolbuttons.h"
#include "ui/texts/harmless.h"

#include <QComboBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTextBrowser>
#include <QTimer>
#include <QVBoxLayout>

#include <array>

using namespace Qt::StringLiterals;

namespace {

constexpr int kTextWidth = 72; ///< characters
constexpr int kTextLines = 8;
constexpr int kLookLines = 6;
constexpr int kLookDelay = 150; ///< milliseconds behind the last key

struct KindRow
{
    const char *name;
    const char *hint;
    const char *look; ///< the title of what is seen below; empty: nothing is
};
constexpr std::array kKinds = {
    KindRow{QT_TRANSLATE_NOOP("SignatureEditor", "Plain text"),
            QT_TRANSLATE_NOOP("SignatureEditor", "Up to four lines of 72 characters are good manners."), ""},
    KindRow{QT_TRANSLATE_NOOP("SignatureEditor", "Formatted (HTML)"),
            QT_TRANSLATE_NOOP("SignatureEditor", "In messages without formatting its text alone is used."),
            QT_TRANSLATE_NOOP("SignatureEditor", "How it looks")},
    KindRow{QT_TRANSLATE_NOOP("SignatureEditor", "What a command prints"),
            QT_TRANSLATE_NOOP("SignatureEditor", "The shell runs it for each new message, for five seconds "
                                                 "at most. It learns nothing of the message."),
            QT_TRANSLATE_NOOP("SignatureEditor", "What it prints")},
};
static_assert(kKinds.size() == std::size_t(Signature::Kind::Command) + 1);

QLabel *newLabel(Role role, const QString &text = {})
{
    auto *label = new QLabel(text);
    label->setWordWrap(true);
    setTextRole(label, role);
    return label;
}

} // namespace

SignatureEditor::SignatureEditor(int identity, const QString &name, QWidget *parent)
    : QDialog(parent)
    , m_identity(identity)
    , m_stored(name)
    , m_name(new QLineEdit)
    , m_kind(new QComboBox)
    , m_hint(newLabel(Role::Text2))
    , m_text(new QPlainTextEdit)
    , m_problem(newLabel(Role::Error))
    , m_footer(new DialogFooter(tr("&Save")))
    , m_timer(new QTimer(this))
{
    setObjectName(u"signatureEditor"_s);
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(name.isEmpty() ? tr("New signature") : tr("Signature “%1”").arg(harmlessLine(name, 60)));
    build();
    m_timer->setSingleShot(true);
    m_timer->setInterval(kLookDelay);
    connect(m_timer, &QTimer::timeout, this, &SignatureEditor::showLook);
    connect(m_text, &QPlainTextEdit::textChanged, m_timer, qOverload<>(&QTimer::start));
    connect(m_kind, &QComboBox::currentIndexChanged, this, &SignatureEditor::kindChosen);
    connect(m_name, &QLineEdit::textChanged, this, &SignatureEditor::showProblem);
    connect(m_text, &QPlainTextEdit::textChanged, this, &SignatureEditor::showProblem);
    connect(&m_command, &SignatureCommand::finished, this, &SignatureEditor::commandEnded);
    connect(m_footer, &DialogFooter::accepted, this, &SignatureEditor::save);
    connect(m_footer, &DialogFooter::rejected, this, &QDialog::reject);
    const auto stored = name.isEmpty() ? std::nullopt : readSignature(identity, name);
    if (stored)
        setSignature(*stored);
    else if (!name.isEmpty())
        showUnreadable(name);
    kindChosen();
    showProblem();
    (m_stored.isEmpty() ? static_cast<QWidget *>(m_name) : m_text)->setFocus();
}

SignatureEditor::~SignatureEditor()
{
    m_command.disconnect(this);
}

void SignatureEditor::build()
{
    auto *title = new QLabel(windowTitle());
    title->setTextFormat(Qt::PlainText);
    setFontScale(title, scale::dialog, QFont::DemiBold);
    m_problem->setObjectName(u"problem"_s);
    m_problem->setTextFormat(Qt::PlainText);
    m_footer->defaultButton()->setObjectName(u"ok"_s);
    auto *page = new QVBoxLayout;
    page->setContentsMargins(space::dialog, space::dialog, space::dialog, space::card);
    page->setSpacing(space::group);
    page->addWidget(title);
    page->addWidget(newFields());
    page->addWidget(m_text, 1);
    page->addWidget(m_hint);
    page->addWidget(newPreview(), 1);
    page->addWidget(m_problem);
    auto *all = new QVBoxLayout(this);
    all->setContentsMargins(0, 0, 0, 0);
    all->setSpacing(0);
    all->addLayout(page, 1);
    all->addWidget(m_footer);
}

QWidget *SignatureEditor::newFields()
{
    m_name->setObjectName(u"name"_s);
    m_kind->setObjectName(u"kind"_s);
    for (const KindRow &row : kKinds)
        m_kind->addItem(tr(row.name));
    m_text->setObjectName(u"text"_s);
    m_text->setAccessibleName(tr("Text of the signature"));
    m_text->setTabChangesFocus(true);
    setFixedFont(m_text);
    m_text->setMinimumSize(columnWidth(kTextWidth), kTextLines * textHeight());
    auto *part = new QWidget;
    auto *form = new QFormLayout(part);
    form->setContentsMargins(0, 0, 0, 0);
    form->setHorizontalSpacing(space::card);
    form->setVerticalSpacing(space::between);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    form->addRow(tr("&Name"), m_name);
    form->addRow(tr("&Kind"), m_kind);
    return part;
}

QWidget *SignatureEditor::newPreview()
{
    m_previewTitle = new QLabel;
    setFontScale(m_previewTitle, 1, QFont::DemiBold);
    m_try = new QPushButton(tr("&Try it"));
    m_try->setObjectName(u"try"_s);
    m_try->setAutoDefault(false);
    connect(m_try, &QPushButton::clicked, this, &SignatureEditor::tryCommand);
    m_look = new QTextBrowser;
    m_look->setObjectName(u"look"_s);
    m_look->setOpenLinks(false);
    m_look->setMinimumHeight(kLookLines * textHeight());
    auto *head = new QHBoxLayout;
    head->setSpacing(space::between);
    head->addWidget(m_previewTitle, 1);
    head->addWidget(m_try);
    m_preview = new QWidget;
    auto *column = new QVBoxLayout(m_preview);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(space::between);
    column->addLayout(head);
    column->addWidget(m_look, 1);
    return m_preview;
}

void SignatureEditor::setSignature(const Signature &signature)
{
    m_name->setText(signature.name);
    m_kind->setCurrentIndex(int(signature.kind));
    m_text->setPlainText(signature.text);
    showLook();
}

Signature::Kind SignatureEditor::kind() const
{
    return Signature::Kind(m_kind->currentIndex());
}

Signature SignatureEditor::signature() const
{
    Signature signature{oneLineOf(m_name->text()), kind(), m_text->toPlainText()};
    if (signature.kind == Signature::Kind::Command)
        signature.text = signature.text.trimmed();
    return signature;
}

void SignatureEditor::kindChosen()
{
    const KindRow &row = kKinds[std::size_t(kind())];
    m_hint->setText(tr(row.hint));
    m_previewTitle->setText(*row.look ? tr(row.look) : QString());
    m_look->setAccessibleName(m_previewTitle->text());
    m_preview->setVisible(*row.look);
    m_try->setVisible(kind() == Signature::Kind::Command);
    m_command.stop();
    m_look->clear();
    showLook();
    showProblem();
}

/// As readers see it: through the same gate as the mail of strangers, so that nothing is loaded for it.
void SignatureEditor::showLook()
{
    if (kind() != Signature::Kind::Html)
        return;
    HtmlOptions options;
    options.images = false;
    m_look->setHtml(sanitizeHtml(m_text->toPlainText(), options).html);
}

void SignatureEditor::tryCommand()
{
    if (m_command.isRunning()) {
        m_command.stop();
        return commandEnded({}, tr("Stopped."));
    }
    m_look->setPlainText(tr("The command runs …"));
    m_try->setText(tr("S&top"));
    m_command.start(signature().text);
}

void SignatureEditor::commandEnded(const QString &text, const QString &problem)
{
    m_try->setText(tr("&Try it"));
    setTextRole(m_look, problem.isEmpty() ? Role::Text : Role::Error);
    m_look->setPlainText(!problem.isEmpty() ? problem : text.isEmpty() ? tr("It printed nothing.") : text);
}

/// Names count as the same in any case: some disks see them so.
QString SignatureEditor::problem() const
{
    if (m_isUnreadable)
        return tr("The file of this signature cannot be read. It stays as it is.");
    const Signature now = signature();
    if (now.name.isEmpty())
        return tr("The signature needs a name.");
    const bool isOwn = now.name.compare(m_stored, Qt::CaseInsensitive) == 0;
    if (!isOwn && signatureNames(m_identity).contains(now.name, Qt::CaseInsensitive))
        return tr("Another signature is called so already.");
    if (now.text.trimmed().isEmpty())
        return now.kind == Signature::Kind::Command ? tr("There is no command yet.")
                                                    : tr("There is no text yet.");
    return {};
}

/// That something is missing is seen; that something is wrong is said.
void SignatureEditor::showProblem()
{
    const QString found = problem();
    const bool isStarted = !m_name->text().isEmpty() && !m_text->document()->isEmpty();
    m_problem->setText(isStarted || m_isUnreadable ? found : QString());
    m_problem->setVisible(!m_problem->text().isEmpty());
    m_footer->defaultButton()->setEnabled(found.isEmpty());
    m_try->setEnabled(!m_text->toPlainText().trimmed().isEmpty());
}

/// What would be saved would take the place of what is there.
void SignatureEditor::showUnreadable(const QString &name)
{
    m_isUnreadable = true;
    m_name->setText(name);
    m_name->setEnabled(false);
    m_kind->setEnabled(false);
    m_text->setEnabled(false);
}

/// Where the names differ in case alone, some disks have one file for both: then it is renamed, since taking
/// the old one away would take the new one.
bool SignatureEditor::write(const Signature &now)
{
    Signature placed = now;
    const bool isSameFile = m_stored.compare(now.name, Qt::CaseInsensitive) == 0;
    if (isSameFile)
        placed.name = m_stored;
    if (!writeSignature(m_identity, placed))
        return false;
    if (m_stored.isEmpty() || m_stored == now.name)
        return true;
    if (isSameFile)
        return renameSignature(m_identity, m_stored, now.name);
    removeSignature(m_identity, m_stored);
    return true;
}

void SignatureEditor::save()
{
    const Signature now = signature();
    if (!problem().isEmpty() || !write(now))
        return; // which has said so
    emit saved(m_stored, now.name);
    accept();
}
