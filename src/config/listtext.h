#pragma once

#include <QString>
#include <QStringList>

/// Texts inside the records of a list file: a backslash, tab, line feed and carriage return are written "\\",
/// "\t", "\n" and "\r", so that a text is always part of one line and one field.

QString escapedText(QStringView text);

/// The reverse. A backslash before anything else stands for itself.
QString unescapedText(QStringView text);

/// Several texts as one field: each escaped, joined with a tab, and the whole escaped once more.
QString escapedTextList(const QStringList &texts);
QStringList unescapedTextList(QStringView text);
