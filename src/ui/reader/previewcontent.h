#pragma once

#include <QString>

class Message;
class QWidget;

/// How a part can be looked at without any other program.
enum class PreviewKind {
    None,
    Picture,
    Text,    ///< plain text, source code, HTML as text
    Message, ///< an enclosed message
    Cards,   ///< contacts and events
};

/// By its type and its name; of a part without a telling type also by its first bytes.
PreviewKind previewKindOf(const Message &message, int part);

/// The widget that shows it, owned by @p parent; null for None.
QWidget *newPreview(const Message &message, int part, QWidget *parent);
