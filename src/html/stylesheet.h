#pragma once

#include "html/style.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>

#include <gumbo.h>

/// The rules of a message's style elements, for selectors made of element names, classes, identifiers and
/// descent ("td.head a"). Rules with other selectors, and those for other media than a screen, do not count.
class StyleSheet
{
public:
    explicit StyleSheet(const QByteArray &css);

    bool isEmpty() const { return m_rules.isEmpty(); }
    /// Applies the rules that match @p element to @p style, the more specific ones later.
    void apply(const GumboNode *element, double parentFontSize, Style &style);

private:
    struct Compound
    {
        QByteArray element; ///< empty: any
        QByteArray id;
        QList<QByteArray> classes;
    };
    struct Rule
    {
        QList<Compound> selector; ///< the element itself last
        int specificity = 0;
        qsizetype declarations = 0; ///< index
    };

    void readRules(QByteArrayView css);
    void addRule(QByteArrayView selectors, QByteArrayView declarations);
    static bool readCompound(QByteArrayView text, Compound &compound);
    void collect(const QByteArray &key, const GumboNode *element, QList<qsizetype> &found);
    bool matches(const Rule &rule, const GumboNode *element);
    static bool fits(const Compound &compound, const GumboNode *element);

    QList<Rule> m_rules;
    QList<QString> m_declarations;
    QHash<QByteArray, QList<qsizetype>> m_byKey; ///< rules by what their last compound asks for first
    int m_stepsLeft;
};
