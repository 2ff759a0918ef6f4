#pragma once

#include "message/address.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

/// @p value without what could end a field or hide in it: line ends and control characters are blanks, those
/// around it are gone.
QString fieldText(const QString &value);

/// Whether @p name can be the name of a field: printable ASCII without a colon (RFC 5322 2.2), short enough
/// to leave room for a value.
bool isFieldName(const QString &name);

/// Whether @p id, with its brackets, can stand in a header: printable ASCII that fits on a line.
bool isWritableIdentifier(const QByteArray &id);

/// One field as it stands in a header. Lines are broken in front of a piece that would pass 78 bytes, never
/// inside one.
class FoldedField
{
public:
    FoldedField(QByteArray &block, QByteArrayView name);

    /// @p piece behind what is there, a blank between.
    void add(QByteArrayView piece);
    /// The same piece by piece for each of its words, blanks between them kept.
    void addWords(QByteArrayView text);
    /// As one piece where it fits on a line, else word by word.
    void addEntry(QByteArrayView text);
    void end();

private:
    void put(QByteArrayView piece);

    QByteArray &m_block;
    qsizetype m_line; ///< where the present line begins
    bool m_empty = true;
};

/// Writes the fields of a header, each at most once a call and only where it has a value. Nothing that a
/// value holds can add a line or a field.
class HeaderWriter
{
public:
    /// @p charset is that of encoded words.
    explicit HeaderWriter(const QByteArray &charset)
        : m_charset(charset)
    {}

    /// A value of our own making, ASCII in one line.
    void line(QByteArrayView name, QByteArrayView value);
    void text(QByteArrayView name, const QString &value);
    void addresses(QByteArrayView name, const QString &field);
    void addresses(QByteArrayView name, const QList<Address> &addresses);
    /// The identifiers in @p value; those that no line could hold are left out.
    void identifiers(QByteArrayView name, QByteArrayView value);
    /// Names with commas or blanks between, as of newsgroups.
    void names(QByteArrayView name, const QString &value);

    const QByteArray &block() const { return m_block; }

private:
    QByteArray m_charset;
    QByteArray m_block;
};
