#pragma once

#include "ui/list/messagesort.h"

#include <array>

/// How the list of one group is arranged.
struct GroupView
{
    MessageSort sort;
    std::array<int, kMessageColumnCount> widths = {}; ///< pixels; 0: as wide as the column needs
    std::array<bool, kMessageColumnCount> shown = {};
    std::array<int, kMessageColumnCount> order = {}; ///< the columns as they stand from the leading edge

    GroupView();
    bool operator==(const GroupView &) const = default;
};
