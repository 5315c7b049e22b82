#pragma once

#include <algorithm>

// The figure every benchmark reports: the middle value of its runs (0 when
// there are none), for std::vector, QVector or QList alike.
template <typename Container> double median(Container values)
{
    if (values.empty())
        return 0;
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}
