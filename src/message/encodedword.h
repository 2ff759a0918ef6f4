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

/// Whether @p text cannot stand in a header as it is: not ASCII, looks like an encoded word, or 900
/// characters and more without a blank, where no line can be broken.
bool needsEncoding(QStringView text);

/// @p text as one Q-encoded word. What would be over 900 bytes is several, a blank between, which readers
/// drop (RFC 2047 section 6.2); no character is cut. Where @p charset cannot hold the text they are UTF-8.
QByteArray encodedWord(const QString &text, QByteArrayView charset, WordPlace place = WordPlace::Text);

/// @p text for a header: as it is where it can be, else as encodedWord().
QByteArray headerText(const QString &text, QByteArrayView charset, WordPlace place = WordPlace::Text);
