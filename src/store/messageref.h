#pragma once

#include <QtGlobal>

#include <vector>

/// A message wherever it is in the store: its group and its article number there. Both are never given twice,
/// so a reference to what is gone finds nothing.
struct MessageRef
{
    int group = 0;       ///< 0: no message
    quint32 article = 0; ///< 0: no message

    bool isNull() const { return article == 0; }
    bool operator==(const MessageRef &) const = default;
    auto operator<=>(const MessageRef &) const = default;
};

using MessageRefs = std::vector<MessageRef>;
