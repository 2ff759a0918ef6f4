#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <vector>

/// The header of a message or of a part as bytes: where it ends, its fields, their values in one line. Line
/// ends are "\n". Everything is linear in the size of the header, however odd that is.

struct HeaderExtent
{
    qsizetype length = 0;     ///< of the header block, in bytes, its last "\n" included
    qsizetype bodyOffset = 0; ///< position of the first byte of the body
};

/// The header block runs up to and including the "\n" before the first empty line; the body begins behind
/// that line. A text without an empty line is all header. Empty lines in front of the first field belong to
/// the header block; a text that begins with an empty line and has no field behind it has no header.
HeaderExtent headerExtent(QByteArrayView text);

/// Whether the text begins with a field: a name of printable characters, at once followed by ":".
bool beginsWithField(QByteArrayView text);

/// The same of a single line; here blanks before the colon are let through, as old software writes them.
bool isFieldLine(QByteArrayView line);

/// @p folded with every "\n" that a blank or tab follows replaced, together with that one character, by one
/// blank; every field then occupies exactly one line.
QByteArray unfolded(QByteArrayView folded);

/// The fields of a header block, found in one pass. It looks into the block it was made from, which must
/// outlive it.
class HeaderFields
{
public:
    struct Field
    {
        QByteArrayView name;  ///< as written, without the colon
        QByteArrayView value; ///< as written, folded, without white space around it
    };

    HeaderFields() = default;
    explicit HeaderFields(QByteArrayView block);

    qsizetype count() const { return qsizetype(m_entries.size()); }
    /// The field at @p index, 0 to count() - 1, in the order of the block. Lines that are no field are left
    /// out.
    Field at(qsizetype index) const;

    /// Whether there is a field called @p name, whatever the case.
    bool contains(QByteArrayView name) const { return find(name) >= 0; }
    /// The unfolded value of the first field called @p name, without white space around it; empty without
    /// one.
    QByteArray value(QByteArrayView name) const;

private:
    struct Entry
    {
        quint32 hash;
        quint32 name; ///< positions in the block
        quint32 colon;
        quint32 end; ///< of the last line of the value
    };

    qsizetype find(QByteArrayView name) const;

    QByteArrayView m_block;
    std::vector<Entry> m_entries;
};
