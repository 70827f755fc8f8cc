#include "stephost/Program.h"

#include <algorithm>
#include <cctype>

namespace stephost {

namespace {

// The fewest letters to insert, remove or change to turn one word into the
// other, case ignored; of a name longer than any a program needs, its first
// hundred letters, so that a megabyte of name costs no more than a name.
size_t distance(const std::string& whole, const std::string& b) {
    const std::string a = whole.substr(0, 100);
    std::vector<size_t> row(b.size() + 1);
    for (size_t j = 0; j <= b.size(); ++j) row[j] = j;
    for (size_t i = 1; i <= a.size(); ++i) {
        size_t diagonal = row[0];
        row[0] = i;
        for (size_t j = 1; j <= b.size(); ++j) {
            const size_t above = row[j];
            const bool same = std::tolower(static_cast<unsigned char>(a[i - 1])) ==
                              std::tolower(static_cast<unsigned char>(b[j - 1]));
            row[j] = std::min({row[j] + 1, row[j - 1] + 1, diagonal + (same ? 0 : 1)});
            diagonal = above;
        }
    }
    return row[b.size()];
}

// Whether one begins with the other, case ignored ("Pos" and "Position").
bool beginsAlike(const std::string& a, const std::string& b) {
    const size_t shorter = std::min(a.size(), b.size());
    if (shorter == 0) return false;
    for (size_t i = 0; i < shorter; ++i) {
        if (std::tolower(static_cast<unsigned char>(a[i])) != std::tolower(static_cast<unsigned char>(b[i])))
            return false;
    }
    return true;
}

}  // namespace

std::string nearestFirst(const std::string& wrong, std::vector<std::string> candidates, size_t most) {
    std::vector<std::pair<size_t, std::string>> ranked;
    ranked.reserve(candidates.size());
    for (std::string& candidate : candidates) {
        ranked.emplace_back(beginsAlike(wrong, candidate) ? 0 : 1 + distance(wrong, candidate), std::move(candidate));
    }
    std::stable_sort(ranked.begin(), ranked.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    std::string list;
    for (size_t i = 0; i < ranked.size(); ++i) {
        if (i == most) return list + ", ...";
        list += (i ? ", " : "") + ranked[i].second;
    }
    return list.empty() ? "none" : list;
}

}  // namespace stephost
