#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <vector>

/// The value of a Content- field (RFC 2045 section 5.1) and its parameters, as mail really writes them:
/// missing and unbalanced quotes, missing semicolons, comments, quotes inside quotes. Of duplicates the first
/// one counts. Reading is linear in the field.
class ParameterList
{
public:
    ParameterList() = default;

    /// @p field in one line, without its name.
    explicit ParameterList(QByteArrayView field);

    /// What stands before the parameters, lower-cased, without comments, quotes and blanks: "text/plain".
    const QByteArray &value() const { return m_value; }

    /// The bytes of a parameter, its pieces (RFC 2231 section 3) put together and its percent escapes undone;
    /// empty when it is not there. @p charset gets the character set that it names itself, if any.
    QByteArray bytes(QByteArrayView name, QByteArray *charset = nullptr) const;

private:
    struct Parameter
    {
        QByteArrayView name; ///< into m_field
        QByteArray value;
    };
    struct Piece
    {
        int index;
        bool escaped;
        const QByteArray *value;
    };

    qsizetype readValue();
    qsizetype readParameter(qsizetype from);
    const Parameter *find(QByteArrayView name) const;
    std::vector<Piece> pieces(QByteArrayView name) const;

    QByteArray m_field;
    QByteArray m_value;
    std::vector<Parameter> m_parameters;
    bool m_unbalanced = false;  ///< a quote was never closed
    bool m_anyExtended = false; ///< some name has a "*" in it
};
