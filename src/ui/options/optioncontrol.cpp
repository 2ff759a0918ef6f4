#include "ui/options/optioncontrol.h"

#include "config/settingstable.h"
#include "ui/look/metrics.h"
#include "ui/look/recolour.h"
#include "ui/options/choosebuttons.h"
#include "ui/options/hits.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QSpinBox>

using namespace Qt::StringLiterals;

namespace {

constexpr int kLineWidth = 44; ///< characters
constexpr int kHintWidth = 60;

bool holdsAny(const QString &text, const QStringList &words)
{
    return std::any_of(words.begin(), words.end(),
                       [&text](const QString &word) { return text.contains(word, Qt::CaseInsensitive); });
}

} // namespace

constexpr OptionControl::Create OptionControl::s_create[] = {
    &OptionControl::createCheck,  &OptionControl::createNumber, &OptionControl::createLine,
    &OptionControl::createChoice, &OptionControl::createFont,   &OptionControl::createColour,
};

OptionControl::OptionControl(const OptionRow &row, QWidget *parent)
    : QWidget(parent)
    , m_row(row)
    , m_all(new QVBoxLayout(this))
    , m_line(new QHBoxLayout)
{
    static_assert(std::size(s_create) == std::size_t(OptionKind::Colour) + 1);
    m_all->setContentsMargins(0, 0, 0, 0);
    m_all->setSpacing(space::inner);
    m_all->addLayout(m_line);
    m_line->setSpacing(space::between);
    (this->*s_create[std::size_t(row.kind)])();
    addBelow();
}

void OptionControl::setValue(const QVariant &value)
{
    m_show(value);
}

void OptionControl::addField(QWidget *field)
{
    m_field = field;
    field->setAccessibleName(optionName(m_row));
    field->setAccessibleDescription(optionWords(m_row.hint));
    m_line->addWidget(field);
    if (*m_row.text && !m_box) {
        auto *unit = new HitLabel(optionWords(m_row.text));
        m_words.append(unit);
        m_line->addWidget(unit);
    }
    m_line->addStretch(1);
}

void OptionControl::addBelow()
{
    if (!*m_row.hint)
        return;
    auto *hint = new HitLabel(optionWords(m_row.hint));
    hint->setWordWrap(true);
    hint->setMaximumWidth(columnWidth(kHintWidth));
    hint->setMinimumWidth(1);
    setFontScale(hint, scale::small);
    setTextRole(hint, Role::Text2);
    m_words.append(hint);
    m_all->addWidget(hint);
}

void OptionControl::createCheck()
{
    m_box = new HitCheckBox(optionWords(m_row.text));
    addField(m_box);
    connect(m_box, &QCheckBox::toggled, this, &OptionControl::changed);
    m_value = [box = m_box] { return box->isChecked(); };
    m_show = [box = m_box](const QVariant &value) { box->setChecked(value.toBool()); };
}

/// A number that is stored beyond the range is shown as it is.
void OptionControl::createNumber()
{
    auto *number = new QSpinBox;
    number->setRange(m_row.least, m_row.most);
    addField(number);
    connect(number, &QSpinBox::valueChanged, this, &OptionControl::changed);
    m_value = [number] { return number->value(); };
    m_show = [number, &row = m_row](const QVariant &value) {
        number->setRange(std::min(row.least, value.toInt()), std::max(row.most, value.toInt()));
        number->setValue(value.toInt());
    };
}

void OptionControl::createLine()
{
    auto *line = new QLineEdit;
    line->setMinimumWidth(columnWidth(kLineWidth * 3 / 4));
    line->setMaximumWidth(columnWidth(kLineWidth));
    addField(line);
    connect(line, &QLineEdit::textChanged, this, &OptionControl::changed);
    m_value = [line] { return line->text(); };
    m_show = [line](const QVariant &value) {
        line->setText(value.toString());
        line->setCursorPosition(0);
    };
    if (!m_row.preview)
        return;
    auto *preview = new QLabel;
    preview->setObjectName(u"preview"_s);
    preview->setTextFormat(Qt::PlainText);
    preview->setMinimumWidth(1);
    setTextRole(preview, Role::Text2);
    m_all->addWidget(preview);
    const auto show = [preview, line, make = m_row.preview] {
        preview->setText(tr("“%1”").arg(make(line->text())));
        line->setAccessibleDescription(preview->text());
    };
    connect(line, &QLineEdit::textChanged, preview, show);
    show();
}

/// A value that is none of the choices becomes one.
void OptionControl::createChoice()
{
    auto *box = new QComboBox;
    for (const OptionChoice &choice : m_row.choices()) {
        box->addItem(choice.text, choice.value);
        m_choices += u' ' + choice.text;
    }
    addField(box);
    connect(box, &QComboBox::currentIndexChanged, this, &OptionControl::changed);
    m_value = [box] { return box->currentData(); };
    m_show = [box](const QVariant &value) {
        if (box->findData(value) < 0)
            box->addItem(tr("Other (%1)").arg(value.toInt()), value);
        box->setCurrentIndex(box->findData(value));
    };
}

void OptionControl::createFont()
{
    auto *button = new FontButton(defaultOption(m_row).toString());
    addField(button);
    m_choices = button->searched();
    connect(button, &FontButton::changed, this, &OptionControl::changed);
    m_value = [button] { return button->chosen(); };
    m_show = [button](const QVariant &value) { button->setChosen(value.toString()); };
}

void OptionControl::createColour()
{
    auto *button = new ColourButton(defaultOption(m_row).toInt());
    addField(button);
    m_choices = button->searched();
    connect(button, &ColourButton::changed, this, &OptionControl::changed);
    m_value = [button] { return button->chosen(); };
    m_show = [button](const QVariant &value) { button->setChosen(value.toInt()); };
}

bool OptionControl::setHits(const QStringList &words)
{
    bool any = m_box && holdsAny(optionWords(m_row.text), words);
    if (m_box)
        m_box->setHits(words);
    for (HitLabel *label : std::as_const(m_words)) {
        label->setHits(words);
        any = any || holdsAny(label->text(), words);
    }
    return any;
}

QString OptionControl::searched() const
{
    return QStringList{optionWords(m_row.label), optionWords(m_row.text), optionWords(m_row.hint), m_choices}
        .join(u'\n');
}

bool OptionControl::isKey(const QStringList &words) const
{
    const int id = int(m_row.setting);
    return id > 0 && words.size() == 1 &&
           words.first().compare(QLatin1StringView(kSettings[std::size_t(id) - 1].key),
                                 Qt::CaseInsensitive) == 0;
}
