#pragma once

#include <QSet>

#include <optional>
#include <vector>

/// The file "Groups/Moving": which messages are on their way from one group to another, so that a crash on
/// the way leaves none in both. It is synced before the first message is copied and goes when the source has
/// let go of them. A message that has arrived is known by where it came from, and by an article number that
/// was given after the move began.
class MoveJournal
{
public:
    struct Move
    {
        int source = 0;
        int target = 0;
        quint32 firstInTarget = 0; ///< the next article there when the move began
        QSet<quint32> articles;    ///< in the source
    };

    /// False: nothing may be moved.
    [[nodiscard]] static bool write(const Move &move);

    static bool exists();

    /// Empty when the file is missing, or was not whole: then no move had begun.
    static std::optional<Move> read();

    static void remove();
};
