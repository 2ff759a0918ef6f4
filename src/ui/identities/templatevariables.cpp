#include "ui/identities/templatevariables.h"

#include "identity/templates.h"
#include "ui/look/colours.h"
#include "ui/look/metrics.h"
#include "ui/look/rows.h"

#include <QCoreApplication>
#include <QPainter>
#include <QRegularExpression>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

/// An argument that may be any text is shown by an example, which the user replaces.
QString exampleFor(const QString &argument)
{
    if (argument == "FORMAT"_L1)
        return u"d MMMM yyyy"_s;
    return argument == "FIELD"_L1 ? u"X-Mailer"_s : argument;
}

/// What the argument makes of the variable that stands above it.
QString meaningOf(const QString &argument)
{
    if (argument == "name"_L1)
        return TemplateVariables::tr("The name alone");
    if (argument == "address"_L1)
        return TemplateVariables::tr("The address alone");
    if (argument == "quoted"_L1)
        return TemplateVariables::tr("Quoted, as in a reply");
    if (argument == "FORMAT"_L1)
        return TemplateVariables::tr("In this form");
    return TemplateVariables::tr("This field");
}

} // namespace

TemplateVariables::TemplateVariables(QObject *parent)
    : QAbstractListModel(parent)
{
    for (const TemplateVariable &variable : templateVariables()) {
        const QString name = u'%' + QString::fromLatin1(variable.name);
        const QString meaning = QCoreApplication::translate("Templates", variable.meaning);
        const QStringList arguments = QString::fromLatin1(variable.arguments).split(u' ', Qt::SkipEmptyParts);
        const bool needsArgument = arguments == QStringList{u"FIELD"_s};
        if (!needsArgument)
            m_rows.push_back({name, meaning, 0});
        for (const QString &argument : arguments) {
            const QString example = exampleFor(argument);
            const bool isAny = example != argument;
            m_rows.push_back({u"%1[%2]"_s.arg(name, example), needsArgument ? meaning : meaningOf(argument),
                              isAny ? int(example.size()) : 0});
        }
    }
    m_rows.push_back({u"%%"_s, tr("A percent sign"), 0});
}

int TemplateVariables::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_rows.size());
}

QVariant TemplateVariables::data(const QModelIndex &index, int role) const
{
    if (!index.isValid())
        return {};
    const Row &row = at(index.row());
    switch (role) {
    case Qt::DisplayRole: return row.text;
    case Qt::ToolTipRole: return row.meaning;
    case Qt::AccessibleTextRole: return u"%1, %2"_s.arg(row.text, row.meaning);
    default: return {};
    }
}

QStringList unknownVariables(const QString &text)
{
    static const QRegularExpression pattern(u"%([A-Za-z]+)"_s);
    const std::vector<TemplateVariable> &known = templateVariables();
    QStringList unknown;
    for (const QString &piece : text.split(u"%%"_s)) {
        for (const QRegularExpressionMatch &match : pattern.globalMatch(piece)) {
            const QString name = match.captured(1);
            const bool isKnown = std::any_of(known.begin(), known.end(), [&](const TemplateVariable &each) {
                return name.compare(QLatin1StringView(each.name), Qt::CaseInsensitive) == 0;
            });
            if (!isKnown && !unknown.contains(match.captured()))
                unknown.append(match.captured());
        }
    }
    return unknown;
}

QSize TemplateVariableDelegate::sizeHint(const QStyleOptionViewItem &, const QModelIndex &) const
{
    return {0, 2 * textHeight() + 3 * space::inner};
}

void TemplateVariableDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option,
                                     const QModelIndex &index) const
{
    painter->save();
    paintRowState(painter, option, option.widget);
    paintRowFocus(painter, option, option.widget);
    const QRect row = option.rect.adjusted(space::group, space::inner, -space::between, -space::inner);
    const auto write = [&](int top, const QFont &font, Role role, const QString &text) {
        painter->setFont(font);
        painter->setPen(colour(role));
        const QRect line =
            QStyle::visualRect(option.direction, option.rect, {row.left(), top, row.width(), textHeight()});
        painter->drawText(line,
                          int(QStyle::visualAlignment(option.direction, Qt::AlignLeading)) | Qt::AlignVCenter,
                          QFontMetrics(font).elidedText(text, Qt::ElideRight, row.width()));
    };
    painter->setLayoutDirection(Qt::LeftToRight); // what is typed is read in one direction everywhere
    write(row.top(), fontScaled(1), Role::Text, index.data().toString());
    painter->setLayoutDirection(option.direction);
    write(row.top() + textHeight() + space::inner / 2, fontScaled(scale::small), Role::Text2,
          index.data(Qt::ToolTipRole).toString());
    painter->restore();
}
