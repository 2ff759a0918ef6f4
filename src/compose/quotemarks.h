#pragma once

#include <QString>
#include <QStringView>

/// The lines that have a meaning of their own in a text that people write.

constexpr QStringView kSignatureSeparator = u"-- ";
constexpr QStringView kSignatureClass = u"signature"; ///< in rich text, of the <div> that holds the signature
constexpr QStringView kForwardBegin = u"----- Begin forwarded message -----";
constexpr QStringView kForwardEnd = u"------ End forwarded message ------"; ///< one dash more, as ever

/// Knows how quoted lines begin; asks the settings once.
class QuoteMarks
{
public:
    QuoteMarks();

    const QString &prefix() const { return m_prefix; } ///< `QuotePrefix`
    bool isQuoted(QStringView line) const;

    /// The length of what stands before the quoted text, with its blank.
    qsizetype prefixLength(QStringView line) const;

    int depthOf(QStringView line) const; ///< how many marks that has; 0: the line is not quoted

    /// What stands before a line that is quoted @p depth times: all marks, and the blank that the prefix has.
    QString prefixOf(int depth) const;

private:
    qsizetype markLength(QStringView rest) const;

    QString m_prefix;
    QString m_mark; ///< the prefix without blanks around, unless it is nothing else
};

/// Takes the first line off @p rest, without its "\n".
inline QStringView takeTextLine(QStringView &rest)
{
    const qsizetype end = rest.indexOf(u'\n');
    const QStringView line = end < 0 ? rest : rest.first(end);
    rest = end < 0 ? QStringView() : rest.sliced(end + 1);
    return line;
}
