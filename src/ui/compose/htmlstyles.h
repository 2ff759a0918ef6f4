#pragma once

#include <QString>
#include <QTextTableCell>

class QBrush;
class QTextBlock;
class QTextBlockFormat;
class QTextCharFormat;
class QTextFrameFormat;
class QTextTable;

/// The formats of a document as HTML says them: declarations of styles, each with its ";", and attributes,
/// each with a blank before it. What is usual is not said.

QString characterStyle(const QTextCharFormat &format, const QBrush &ground, bool isHeading);
QString paragraphStyle(const QTextBlock &block, const QBrush &ground, double marginAbove, double marginBelow);
QString sideAttributes(const QTextBlock &block); ///< the direction and the alignment
QString frameStyle(const QTextFrameFormat &format);
QString listStyleName(int style); ///< QTextListFormat::Style; empty: the usual one of its kind
QString tableAttributes(const QTextTable &table);
QString cellAttributes(const QTextTable &table, const QTextTableCell &cell);
QString styleAttribute(QString declarations); ///< empty for none
