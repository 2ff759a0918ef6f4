#include "html/elements.h"

#include <algorithm>
#include <string_view>

namespace {

constexpr bool eachRowInItsPlace()
{
    for (std::size_t i = 0; i < kElements.size(); ++i) {
        if (std::size_t(kElements[i].element) != i)
            return false;
        if (i > 0 && std::string_view(kElements[i - 1].name) >= std::string_view(kElements[i].name))
            return false;
    }
    return true;
}
static_assert(eachRowInItsPlace());

} // namespace

Element elementNamed(QByteArrayView name)
{
    const auto less = [](const ElementRow &row, QByteArrayView wanted) {
        return QByteArrayView(row.name) < wanted;
    };
    const auto row = std::lower_bound(kElements.begin(), kElements.end(), name, less);
    return row != kElements.end() && QByteArrayView(row->name) == name ? row->element : Element::None;
}
