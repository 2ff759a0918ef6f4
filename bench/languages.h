#pragma once

#include "random.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

/// How the text of a part travels.
enum class Transfer { SevenBit, EightBit, QuotedPrintable, Base64 };

/// A language with its words, and the character set and encoding that its writers use.
struct Language
{
    QByteArray charset;
    QList<Transfer> transfers; ///< one of these, chosen by lot
    double share;              ///< of all messages
    bool spaced;               ///< blanks between words
    QStringList words;         ///< the frequent ones first
};

/// All of them; their shares add up to 1.
const QList<Language> &languages();

/// One of them, by their shares.
const Language &anyLanguage(Random &random);

/// A few words that begin like a sentence, without a full stop.
QString phrase(const Language &language, int words, Random &random);

/// Paragraphs of sentences in lines of mail's usual width, about @p characters long, without a last line end.
QString prose(const Language &language, qsizetype characters, Random &random);
