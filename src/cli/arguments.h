#pragma once

#include <QHash>
#include <QString>
#include <QStringList>

#include <initializer_list>

/// The words behind a command, taken apart: options with and without a value anywhere, everything else in
/// order.
/// "--" ends the options; a "-" alone is no option.
class Arguments
{
public:
    /// @p flags take no value, @p valued take the next word or what stands behind "=".
    Arguments(const QStringList &words, std::initializer_list<const char *> flags,
              std::initializer_list<const char *> valued);

    /// What is wrong with the words, the first thing of it; empty when nothing is.
    QString problem() const { return m_problems.value(0); }
    const QStringList &problems() const { return m_problems; } ///< all of it

    bool has(const char *flag) const;
    QString value(const char *option) const;      ///< the last one given; empty without one
    QStringList values(const char *option) const; ///< all of them, in order
    const QStringList &plain() const { return m_plain; }

private:
    QHash<QString, QStringList> m_options;
    QStringList m_plain;
    QStringList m_problems;
};
