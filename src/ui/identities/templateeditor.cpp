#include "ui/identities/templateeditor.h"

#include "compose/quoting.h"
#include "identity/identitymanager.h"
#include "identity/oneline.h"
#include "ui/identities/templatevariables.h"
#include "ui/look/dialogfooter.h"
#include "ui/look/elidedlabel.h"
#include "ui/look/fixedfont.h"
#include "ui/look/metrics.h"
#include "ui/look/recolour.h"
#include "ui/texts/harmless.h"

#include <QComboBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

constexpr int kTextWidth = 68; ///< characters
constexpr int kListWidth = 42;
constexpr int kTextLines = 10;
constexpr int kIdentityWidth = 16;
constexpr int kPreviewDelay = 150;               ///< milliseconds behind the last key
constexpr qsizetype kLongestPreview = 20 * 1024; ///< characters

/// Somebody who writes to the user.
constexpr char kExample[] = "From: \"Anna Weber\" <anna@harbour.example>\n"
                            "To: Clara Winter <clara@tidewater.example>\n"
                            "Cc: club@sailing.example\n"
                            "Subject: Harbour walk on Saturday\n"
                            "Date: Thu, 19 Nov 2026 17:42:00 +0000\n"
                            "Message-ID: <walk.1@harbour.example>\n"
                            "Organization: Harbour Society\n"
                            "Newsgroups: local.harbour\n"
                            "\n"
                            "Hello Clara,\n"
                            "\n"
                            "shall we meet at ten at the lighthouse?\n"
                            "\n"
                            "Anna\n";

Identity exampleIdentity()
{
    Identity identity;
    identity.name = u"Clara Winter"_s;
    identity.address = u"clara@tidewater.example"_s;
    return identity;
}

} // namespace

TemplateEditor::TemplateEditor(const IdentityManager &identities, const Message &current, const QString &name,
                               QWidget *parent)
    : QDialog(parent)
    , m_stored(name)
    , m_isExample(current.text().isEmpty())
    , m_variables(new TemplateVariables(this))
    , m_name(new QLineEdit)
    , m_text(new QPlainTextEdit)
    , m_list(new QListView)
    , m_identity(new QComboBox)
    , m_preview(new QPlainTextEdit)
    , m_hint(new QLabel)
    , m_problem(new QLabel)
    , m_footer(new DialogFooter(tr("&Save")))
    , m_timer(new QTimer(this))
{
    setObjectName(u"templateEditor"_s);
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(name.isEmpty() ? tr("New template") : tr("Template “%1”").arg(harmlessLine(name, 60)));
    m_values.message = m_isExample ? Message(QByteArray(kExample)) : current;
    m_values.quotedBody = [this, quoted = std::optional<QString>()]() mutable {
        if (!quoted)
            quoted = quotation(m_values.message, false);
        return *quoted;
    };
    fillIdentities(identities);
    build();
    m_timer->setSingleShot(true);
    m_timer->setInterval(kPreviewDelay);
    connect(m_timer, &QTimer::timeout, this, &TemplateEditor::showPreview);
    connect(m_text, &QPlainTextEdit::textChanged, m_timer, qOverload<>(&QTimer::start));
    connect(m_text, &QPlainTextEdit::textChanged, this, &TemplateEditor::showProblem);
    connect(m_name, &QLineEdit::textChanged, this, &TemplateEditor::showProblem);
    connect(m_identity, &QComboBox::currentIndexChanged, this, &TemplateEditor::showPreview);
    connect(m_list, &QListView::activated, this, &TemplateEditor::insertVariable, Qt::QueuedConnection);
    connect(m_footer, &DialogFooter::accepted, this, &TemplateEditor::save);
    connect(m_footer, &DialogFooter::rejected, this, &QDialog::reject);
    if (!name.isEmpty())
        setTemplate(name, readTemplate(name).value_or(QString()));
    showPreview();
    showProblem();
    (m_stored.isEmpty() ? static_cast<QWidget *>(m_name) : m_text)->setFocus();
}

void TemplateEditor::fillIdentities(const IdentityManager &identities)
{
    m_identities = identities.all();
    if (m_identities.empty())
        m_identities.push_back(exampleIdentity());
    for (std::size_t i = 0; i < m_identities.size(); ++i) {
        m_identity->addItem(harmlessLine(m_identities[i].display()));
        if (m_identities[i].has(IdentityDefault))
            m_identity->setCurrentIndex(int(i));
    }
}

void TemplateEditor::build()
{
    auto *title = new QLabel(windowTitle());
    title->setTextFormat(Qt::PlainText);
    setFontScale(title, scale::dialog, QFont::DemiBold);
    m_problem->setObjectName(u"problem"_s);
    m_problem->setTextFormat(Qt::PlainText);
    m_problem->setWordWrap(true);
    setTextRole(m_problem, Role::Error);
    m_name->setObjectName(u"name"_s);
    auto *form = new QFormLayout;
    form->setHorizontalSpacing(space::card);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    form->addRow(tr("&Name"), m_name);
    auto *sides = new QHBoxLayout;
    sides->setSpacing(space::card);
    sides->addWidget(newTextSide(), 1);
    sides->addWidget(newVariableSide());
    auto *page = new QVBoxLayout;
    page->setContentsMargins(space::dialog, space::dialog, space::dialog, space::card);
    page->setSpacing(space::group);
    page->addWidget(title);
    page->addLayout(form);
    page->addLayout(sides, 1);
    page->addWidget(m_problem);
    m_footer->defaultButton()->setObjectName(u"ok"_s);
    auto *all = new QVBoxLayout(this);
    all->setContentsMargins(0, 0, 0, 0);
    all->setSpacing(0);
    all->addLayout(page, 1);
    all->addWidget(m_footer);
}

QWidget *TemplateEditor::newTextSide()
{
    m_text->setObjectName(u"text"_s);
    m_text->setAccessibleName(tr("Text of the template"));
    m_text->setTabChangesFocus(true);
    m_text->setMinimumSize(columnWidth(kTextWidth), kTextLines * textHeight());
    setFixedFont(m_text);
    m_preview->setObjectName(u"preview"_s);
    m_preview->setAccessibleName(tr("Preview"));
    m_preview->setReadOnly(true);
    m_preview->setTabChangesFocus(true);
    m_preview->setMinimumHeight(kTextLines * textHeight());
    setFixedFont(m_preview);
    setSurface(m_preview, Role::Alternate);
    m_hint->setObjectName(u"hint"_s);
    m_hint->setTextFormat(Qt::PlainText);
    m_hint->setWordWrap(true);
    setTextRole(m_hint, Role::Warning);
    auto *label = new QLabel(tr("&Text"));
    setFontScale(label, 1, QFont::DemiBold);
    label->setBuddy(m_text);
    auto *side = new QWidget;
    auto *column = new QVBoxLayout(side);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(space::between);
    column->addWidget(label);
    column->addWidget(m_text, 1);
    column->addWidget(m_hint);
    column->addWidget(newPreviewHead());
    column->addWidget(m_preview, 1);
    return side;
}

QWidget *TemplateEditor::newPreviewHead()
{
    auto *title = new QLabel(tr("Preview"));
    setFontScale(title, 1, QFont::DemiBold);
    const QString subject = harmlessLine(m_values.message.subject(), 120);
    auto *what = new ElidedLabel;
    what->setText(m_isExample ? tr("for an example message") : tr("for “%1”").arg(subject));
    setTextRole(what, Role::Text2);
    auto *label = new QLabel(tr("b&y"));
    setTextRole(label, Role::Text2);
    label->setBuddy(m_identity);
    m_identity->setObjectName(u"identity"_s);
    m_identity->setAccessibleName(tr("Identity of the preview"));
    m_identity->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    m_identity->setMinimumContentsLength(kIdentityWidth);
    auto *head = new QWidget;
    auto *row = new QHBoxLayout(head);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(space::between);
    row->addWidget(title);
    row->addWidget(what, 1);
    row->addWidget(label);
    row->addWidget(m_identity);
    return head;
}

QWidget *TemplateEditor::newVariableSide()
{
    auto *label = new QLabel(tr("&Variables"));
    setFontScale(label, 1, QFont::DemiBold);
    label->setBuddy(m_list);
    m_list->setObjectName(u"variables"_s);
    m_list->setAccessibleName(tr("Variables"));
    m_list->setModel(m_variables);
    m_list->setItemDelegate(new TemplateVariableDelegate(m_list));
    m_list->setUniformItemSizes(true);
    m_list->setCurrentIndex(m_variables->index(0));
    m_list->setFixedWidth(columnWidth(kListWidth));
    auto *insert = new QPushButton(tr("&Insert"));
    insert->setObjectName(u"insert"_s);
    insert->setAutoDefault(false);
    connect(insert, &QPushButton::clicked, this, &TemplateEditor::insertVariable);
    auto *side = new QWidget;
    auto *column = new QVBoxLayout(side);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(space::between);
    column->addWidget(label);
    column->addWidget(m_list, 1);
    column->addWidget(insert, 0, Qt::AlignLeading);
    return side;
}

void TemplateEditor::setTemplate(const QString &name, const QString &text)
{
    m_name->setText(name);
    m_text->setPlainText(text);
    showPreview();
}

/// An argument that may be any text is left selected, to be typed over.
void TemplateEditor::insertVariable()
{
    if (!m_list->currentIndex().isValid())
        return;
    const TemplateVariables::Row &row = m_variables->at(m_list->currentIndex().row());
    QTextCursor cursor = m_text->textCursor();
    cursor.insertText(row.text);
    if (row.selected > 0) {
        const int end = cursor.position() - 1;
        cursor.setPosition(end - row.selected);
        cursor.setPosition(end, QTextCursor::KeepAnchor);
    }
    m_text->setTextCursor(cursor);
    m_text->setFocus();
}

void TemplateEditor::showPreview()
{
    m_timer->stop();
    m_values.identity = m_identities[std::size_t(std::max(m_identity->currentIndex(), 0))];
    QString text = expandTemplate(m_text->toPlainText(), m_values);
    if (text.size() > kLongestPreview)
        text = text.left(kLongestPreview) + u'…';
    m_preview->setPlainText(text);
    const QStringList unknown = unknownVariables(m_text->toPlainText());
    m_hint->setText(unknown.isEmpty() ? QString()
                    : unknown.size() == 1
                        ? tr("%1 is no variable and stays as it is.").arg(unknown.first())
                        : tr("These are no variables and stay as they are: %1").arg(unknown.join(u", "_s)));
    m_hint->setVisible(!unknown.isEmpty());
}

QString TemplateEditor::problem() const
{
    const QString name = oneLineOf(m_name->text());
    if (name.isEmpty())
        return tr("The template needs a name.");
    const bool isOwn = name.compare(m_stored, Qt::CaseInsensitive) == 0;
    if (!isOwn && templateNames().contains(name, Qt::CaseInsensitive))
        return tr("Another template is called so already.");
    return m_text->toPlainText().trimmed().isEmpty() ? tr("There is no text yet.") : QString();
}

/// That something is missing is seen; that something is wrong is said.
void TemplateEditor::showProblem()
{
    const QString found = problem();
    const bool isStarted = !m_name->text().isEmpty() && !m_text->document()->isEmpty();
    m_problem->setText(isStarted ? found : QString());
    m_problem->setVisible(!m_problem->text().isEmpty());
    m_footer->defaultButton()->setEnabled(found.isEmpty());
}

/// Where the names differ in case alone, some disks have one file for both: then it is renamed, since taking
/// the old one away would take the new one.
bool TemplateEditor::write(const QString &name)
{
    const bool isSameFile = m_stored.compare(name, Qt::CaseInsensitive) == 0;
    if (!writeTemplate(isSameFile ? m_stored : name, m_text->toPlainText()))
        return false;
    if (m_stored.isEmpty() || m_stored == name)
        return true;
    if (isSameFile)
        return renameTemplate(m_stored, name);
    removeTemplate(m_stored);
    return true;
}

void TemplateEditor::save()
{
    const QString name = oneLineOf(m_name->text());
    if (!problem().isEmpty() || !write(name))
        return; // which has said so
    emit saved(name);
    accept();
}
