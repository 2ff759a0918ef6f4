#pragma once

#include <QString>
#include <QStringList>

/// How well what somebody types fits the name of a group. Case and accents make no difference.

/// A full name, ready to be searched.
struct SearchName
{
    QString path;           ///< folded
    qsizetype nameFrom = 0; ///< where the last level begins

    /// @p path with "/" between the levels.
    static SearchName of(const QString &path);
};

/// @p text without case and accents.
QString foldedForSearch(const QString &text);

/// The worst that a text which stands in the full name as it is can reach; beyond it only its letters do, one
/// here and one there.
constexpr int kWorstWholeMatch = 4;

/// The distance of the folded @p text from @p name: 0 when the last level begins with it, then at the start
/// of a word, inside one, in the levels above, as the first letters of words ("clc" for comp.lang.c++), as
/// letters in this order. -1: it does not fit.
int matchDistance(QStringView text, const SearchName &name);

/// The sum for all of @p words, each at a place of its own; -1 as soon as one does not fit.
int matchDistance(const QStringList &words, const SearchName &name);
