#pragma once

#include <QString>
#include <QStringView>

/// The word in @p text, in lower case, that speaks of an attachment in one of many languages; empty: none
/// does. Quoted lines, forwarded messages and the signature are not the writer's words. Linear.
QString attachmentWord(QStringView text);
