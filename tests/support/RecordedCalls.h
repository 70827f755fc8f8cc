// The calls a step made, without the ones that are only the host's plumbing.
#pragma once

#include <initializer_list>
#include <string>
#include <vector>

#include "host/HostObject.h"

// The calls recorded since the last take, without those whose object's label
// is one of `labels` ("ComponentString" for making strings and variants,
// "ComponentCollection" for finding components).
inline std::vector<std::string> takeCallsExcept(std::initializer_list<const char*> labels) {
    std::vector<std::string> calls;
    for (const std::string& call : host::Recorder::take()) {
        bool dropped = false;
        for (const char* label : labels) dropped = dropped || call.rfind(std::string(label) + ".", 0) == 0;
        if (!dropped) calls.push_back(call);
    }
    return calls;
}
