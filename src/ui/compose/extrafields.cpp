#include "ui/compose/extrafields.h"

#include "compose/messagebuilder.h"
#include "message/headerblock.h"
#include "ui/look/colours.h"
#include "ui/look/metrics.h"
#include "ui/look/recolour.h"
#include "ui/look/toolbuttons.h"
#include "ui/texts/harmless.h"

#include <QGridLayout>
#include <QLineEdit>
#include <QPainter>
#include <QToolButton>

using namespace Qt::StringLiterals;

namespace {

constexpr int kNameColumns = 14; ///< average characters that a name has room for
constexpr int kLongestName = 60; ///< of a field, in what is said of it

QString problemOf(const QString &name)
{
    const QString shown = harmlessLine(name, kLongestName);
    if (!beginsWithField(name.toLatin1() + ':') || name != QString::fromLatin1(name.toLatin1()))
        return ExtraFields::tr("“%1” cannot be the name of a header field.").arg(shown);
    if (isOwnField(name.toLatin1()))
        return ExtraFields::tr("“%1” is written by the program itself.").arg(shown);
    return {};
}

QString nameIn(const QLineEdit *edit)
{
    QString name = edit->text().trimmed();
    while (name.endsWith(u':'))
        name = name.chopped(1).trimmed();
    return name;
}

} // namespace

ExtraFields::ExtraFields(QWidget *parent)
    : QWidget(parent)
    , m_grid(new QGridLayout(this))
{
    setSurface(this, Role::Base);
    m_grid->setContentsMargins(0, 0, 0, 0);
    m_grid->setHorizontalSpacing(space::group);
    m_grid->setVerticalSpacing(1); // the line
    m_grid->setColumnStretch(1, 1);
    addRow({});
}

void ExtraFields::setFields(const QList<ExtraHeader> &fields)
{
    while (!m_rows.empty())
        removeRow(m_rows.front().name);
    for (const ExtraHeader &field : fields)
        addRow(field);
    addRow({});
}

QList<ExtraHeader> ExtraFields::fields() const
{
    QList<ExtraHeader> fields;
    for (const Row &row : m_rows)
        if (const QString name = nameIn(row.name); !name.isEmpty())
            fields.append({name, row.value->text().trimmed()});
    return fields;
}

QString ExtraFields::problem() const
{
    for (const Row &row : m_rows) {
        const QString name = nameIn(row.name);
        if (name.isEmpty() && !row.value->text().trimmed().isEmpty())
            return tr("A header field has no name.");
        if (const QString problem = name.isEmpty() ? QString() : problemOf(name); !problem.isEmpty())
            return problem;
    }
    return {};
}

void ExtraFields::focusProblem()
{
    for (const Row &row : m_rows) {
        const QString name = nameIn(row.name);
        if (name.isEmpty() ? !row.value->text().trimmed().isEmpty() : !problemOf(name).isEmpty())
            return row.name->setFocus();
    }
}

int ExtraFields::nameWidth()
{
    return columnWidth(kNameColumns);
}

void ExtraFields::fit(const Row &row)
{
    row.name->setFixedWidth(nameWidth());
    row.value->setMinimumHeight(textHeight() + 2 * space::between + space::inner);
}

void ExtraFields::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange)
        for (const Row &row : m_rows)
            fit(row);
}

/// A line between two rows, from edge to edge as above them.
void ExtraFields::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    for (const Row &row : m_rows)
        if (row.name != m_rows.front().name)
            painter.fillRect(0, row.value->y() - 1, width(), 1, colour(Role::Line));
}

void ExtraFields::addRow(const ExtraHeader &field)
{
    const Row row = {new QLineEdit(this), new QLineEdit(this),
                     newToolButton(u"close"_s, tr("Remove this field"), this)};
    row.name->setFrame(false);
    row.name->setPlaceholderText(tr("X-Name"));
    row.name->setAccessibleName(tr("Name of the header field"));
    row.name->setAlignment(Qt::AlignTrailing);
    row.name->setText(field.name);
    row.value->setFrame(false);
    row.value->setTextMargins(space::between - 2, space::inner, 0, space::inner);
    row.value->setPlaceholderText(tr("Value"));
    row.value->setAccessibleName(tr("Value of the header field"));
    row.value->setText(field.value);
    row.remove->setVisible(!field.name.isEmpty());
    fit(row);
    for (QLineEdit *edit : {row.name, row.value})
        connect(edit, &QLineEdit::textChanged, this, [this, name = row.name] { rowChanged(name); });
    connect(row.remove, &QToolButton::clicked, this, [this, name = row.name] {
        removeRow(name);
        if (m_rows.empty() || !m_rows.back().name->text().isEmpty())
            addRow({});
        m_rows.back().name->setFocus();
        emit changed();
    });
    const int place = m_grid->rowCount();
    m_grid->addWidget(row.name, place, 0);
    m_grid->addWidget(row.value, place, 1);
    m_grid->addWidget(row.remove, place, 2);
    m_rows.push_back(row);
}

void ExtraFields::removeRow(const QLineEdit *name)
{
    const auto at =
        std::find_if(m_rows.begin(), m_rows.end(), [name](const Row &row) { return row.name == name; });
    for (QWidget *each : {static_cast<QWidget *>(at->name), static_cast<QWidget *>(at->value),
                          static_cast<QWidget *>(at->remove)}) {
        each->hide();
        each->deleteLater();
    }
    m_rows.erase(at);
}

void ExtraFields::rowChanged(const QLineEdit *name)
{
    const auto row =
        std::find_if(m_rows.begin(), m_rows.end(), [name](const Row &each) { return each.name == name; });
    const QString typed = nameIn(row->name);
    const QString problem = typed.isEmpty() ? QString() : problemOf(typed);
    setTextRole(row->name, problem.isEmpty() ? Role::Text : Role::Error);
    row->name->setToolTip(problem);
    row->remove->setVisible(true);
    if (row->name == m_rows.back().name && !row->name->text().isEmpty())
        addRow({});
    emit changed();
}
