#include "ui/options/optionform.h"

#include "ui/look/metrics.h"
#include "ui/look/recolour.h"
#include "ui/look/toolbuttons.h"
#include "ui/look/wheel.h"
#include "ui/options/hits.h"
#include "ui/options/optioncontrol.h"

#include <QGridLayout>

#include <algorithm>

namespace {

/// @p text with the mark of a mnemonic before the first letter, of a word where it can, that is not in
/// @p taken; without one where all are.
QString withMnemonic(const QString &text, QString *taken)
{
    for (const bool onlyFirstLetters : {true, false}) {
        for (qsizetype i = 0; i < text.size(); ++i) {
            const QChar letter = text[i].toLower();
            const bool isFirst = i == 0 || text[i - 1].isSpace();
            if (!letter.isLetter() || taken->contains(letter) || (onlyFirstLetters && !isFirst))
                continue;
            taken->append(letter);
            return QString(text).insert(i, u'&');
        }
    }
    return text;
}

} // namespace

OptionForm::OptionForm(OptionPage page, QWidget *parent)
    : QWidget(parent)
    , m_page(page)
    , m_grid(new QGridLayout(this))
{
    setSurface(this, Role::Base);
    m_grid->setContentsMargins(space::page, space::inner, space::page, space::dialog);
    m_grid->setHorizontalSpacing(space::group);
    m_grid->setVerticalSpacing(space::between);
    m_grid->setColumnStretch(1, 1);
    QString mnemonics;
    for (const OptionRow &row : optionRows()) {
        if (row.page == page)
            addRow(row, &mnemonics);
    }
    m_grid->setRowStretch(m_grid->rowCount(), 1);
    keepFromWheel(this);
    load();
}

void OptionForm::addTitle(const OptionRow &row)
{
    auto *title = new HitLabel(optionWords(row.section));
    setFontScale(title, scale::title, QFont::DemiBold);
    title->setContentsMargins(0, m_titles.isEmpty() ? 0 : space::card, 0, 0);
    title->setAlignment(Qt::AlignLeading | Qt::AlignBottom);
    m_grid->addWidget(title, m_grid->rowCount(), 0, 1, 2);
    m_titles.append(title);
}

void OptionForm::addRow(const OptionRow &row, QString *mnemonics)
{
    if (*row.section)
        addTitle(row);
    auto *control = new OptionControl(row);
    HitLabel *label = nullptr;
    const int at = m_grid->rowCount();
    if (*row.label) {
        label = new HitLabel(withMnemonic(optionWords(row.label), mnemonics));
        label->setBuddy(control->field());
        label->setAlignment(Qt::AlignTrailing | Qt::AlignVCenter);
        setTextRole(label, Role::Text2);
        m_grid->addWidget(label, at, 0, Qt::AlignTrailing | Qt::AlignTop);
    }
    m_grid->addWidget(control, at, 1);
    m_lines.append({label, control});
    connect(control, &OptionControl::changed, this, &OptionForm::changed);
}

void OptionForm::load()
{
    for (const Line &line : std::as_const(m_lines)) {
        OptionControl *control = line.control;
        const auto loaded = m_loaded.constFind(control);
        if (loaded != m_loaded.constEnd() && control->value() != *loaded)
            continue;
        const QVariant stored = optionValue(control->row());
        if (control->value() != stored)
            control->setValue(stored);
        m_loaded.insert(control, control->value());
    }
}

bool OptionForm::isChanged() const
{
    return std::any_of(m_lines.begin(), m_lines.end(), [this](const Line &line) {
        return line.control->value() != m_loaded.value(line.control);
    });
}

void OptionForm::store()
{
    for (const Line &line : std::as_const(m_lines)) {
        const QVariant value = line.control->value();
        if (value == m_loaded.value(line.control))
            continue;
        setOption(line.control->row(), value);
        m_loaded.insert(line.control, value);
    }
}

bool OptionForm::hasDefaults() const
{
    return std::all_of(m_lines.begin(), m_lines.end(), [](const Line &line) {
        return line.control->value() == defaultOption(line.control->row());
    });
}

OptionForm::Values OptionForm::showDefaults()
{
    Values before;
    for (const Line &line : std::as_const(m_lines)) {
        const QVariant usual = defaultOption(line.control->row());
        if (line.control->value() == usual)
            continue;
        before.insert(line.control, line.control->value());
        line.control->setValue(usual);
    }
    return before;
}

void OptionForm::show(const Values &values)
{
    for (auto it = values.cbegin(); it != values.cend(); ++it)
        it.key()->setValue(it.value());
}

int OptionForm::setHits(const QStringList &words)
{
    int hits = 0;
    m_firstHit = nullptr;
    for (HitLabel *title : std::as_const(m_titles)) {
        const bool isHit = holdsAll(title->text(), words);
        title->setHits(isHit ? words : QStringList());
        hits += isHit ? 1 : 0;
    }
    HitLabel *label = nullptr;
    for (const Line &line : std::as_const(m_lines)) {
        if (line.label) {
            label = line.label;
            label->setHits({});
        }
        const bool isHit = holdsAll(line.control->searched(), words) || line.control->isKey(words);
        const QStringList shown = isHit ? words : QStringList();
        const bool isSeen = line.control->setHits(shown);
        if (!isHit)
            continue;
        ++hits;
        m_firstHit = m_firstHit ? m_firstHit : line.control;
        const QString name = optionWords(line.control->row().label);
        const bool inLabel = std::any_of(words.begin(), words.end(), [&name](const QString &word) {
            return name.contains(word, Qt::CaseInsensitive);
        });
        // What only a choice or the key says is marked at its label, or it would be found nowhere.
        if (label && (inLabel || !isSeen))
            label->setHits(inLabel ? words : QStringList{plainName(label->text())});
    }
    return hits;
}

int OptionForm::labelWidth() const
{
    int width = 0;
    for (const Line &line : m_lines)
        width = std::max(width, line.label ? line.label->sizeHint().width() : 0);
    return width;
}

void OptionForm::setLabelWidth(int width)
{
    m_grid->setColumnMinimumWidth(0, width);
}
