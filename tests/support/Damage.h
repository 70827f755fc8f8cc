// Damages a saved text the way a bad disk or a careless edit does: a few
// bytes overwritten, cut out or repeated.
#pragma once

#include <random>
#include <string>

inline std::string damage(const std::string& text, std::mt19937& random) {
    std::string damaged = text;
    const int changes = 1 + static_cast<int>(random() % 4);
    for (int i = 0; i < changes && !damaged.empty(); ++i) {
        const size_t at = random() % damaged.size();
        switch (random() % 3) {
            case 0:
                damaged[at] = static_cast<char>(random() % 256);
                break;
            case 1:
                damaged.erase(at, 1 + random() % 8);
                break;
            default:
                damaged.insert(at, damaged.substr(at, 1 + random() % 16));
                break;
        }
    }
    return damaged;
}
