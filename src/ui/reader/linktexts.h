#pragma once

#include <QString>

/// How the reader names where a link leads. What is shown is what is opened.

/// The target in one line: the name of its host as it is sent, with the letters it stands for behind it, and
/// what was taken out of it because it only tells who followed the link.
QString linkInWords(const QString &target);

/// A host for a sentence: in its own letters, but as it is sent when it could be taken for another one.
QString hostInWords(const QString &host);

/// Whether the host of @p target could be taken for another one.
bool isConfusableLink(const QString &target);
