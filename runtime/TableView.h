// A view of a constant table written as data (a step's inputs, parameters or
// pages); empty when there is none.
#pragma once

#include <cstddef>

template <class Entry>
struct TableView {
    const Entry* entries = nullptr;
    size_t count = 0;

    constexpr TableView() = default;
    template <size_t N>
    constexpr TableView(const Entry (&table)[N]) : entries(table), count(N) {}
    constexpr const Entry* begin() const { return entries; }
    constexpr const Entry* end() const { return entries + count; }
    constexpr bool empty() const { return count == 0; }
};
