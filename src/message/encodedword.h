#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

/// Encoded words (RFC 2047): text of any character set inside the ASCII of a header.

/// @p value with its encoded words replaced by what they say.
///
/// What a word decodes to is searched again, so a word inside a word is read as well; nesting deeper than
/// only a hostile sender writes is left as it stands after a bounded amount of work. Blanks between two words
/// stay. A character that is split between two neighbours of one character set is put together in front of
/// them. What is neither base64 nor Q stays as it is. A character set without a converter is read one byte to
/// one character. The result is inOneLine().
QString decodeEncodedWords(const QString &value);

/// @p text with line ends and NULs, which encoding can smuggle into a header's value, as blanks.
QString inOneLine(QString text);

/// The text of an unfolded header value as received: decodeUnlabelled() for bytes outside ASCII, with the
/// message's character set as @p fallback, then decodeEncodedWords().
QString decodeHeaderText(QByteArrayView value, QByteArrayView fallback = {});

enum class WordPlace {
    Text,  ///< a Subject and other fields of free text
    Phrase ///< a display name or a comment, where only letters and digits mean themselves everywhere
};

/// Whether @p text cannot stand in a header as it is.
bool needsEncoding(QStringView text);

/// @p text as one Q-encoded word, whatever its length. Where @p charset cannot hold the text the word is
/// UTF-8.
QByteArray encodedWord(const QString &text, QByteArrayView charset, WordPlace place = WordPlace::Text);

/// @p text for a header: as it is where it can be, else as one encoded word.
QByteArray headerText(const QString &text, QByteArrayView charset, WordPlace place = WordPlace::Text);
