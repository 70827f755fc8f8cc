// Texts tests compare: a collection's names, and an XML document's body.
// Only declarations and the stand-in host, so that tests which must see no
// module header can use them too.
#pragma once

#include <string>
#include <vector>

#include "host/HostObject.h"
#include "host/XmlStream.h"
#include "runtime/Interfaces.h"
#include "runtime/SmartPtr.h"

inline std::wstring nameAt(IParameters* parameters, int32_t index) {
    SmartPtr<IString> name;
    parameters->get_ItemName(index, name.put());
    return host::textOf(name.get());
}

inline std::vector<std::wstring> namesOf(IParameters* parameters) {
    int32_t count = 0;
    parameters->get_Count(&count);
    std::vector<std::wstring> names;
    for (int32_t i = 0; i < count; ++i) names.push_back(nameAt(parameters, i));
    return names;
}

// The document's text without the declaration, its lines joined without
// their indentation.
inline std::string body(host::XmlStream* stream) {
    const std::string text = stream->save();
    std::string joined;
    for (size_t start = text.find('\n') + 1; start < text.size();) {
        size_t end = text.find('\n', start);
        if (end == std::string::npos) end = text.size();
        const size_t first = text.find_first_not_of(' ', start);
        if (first < end) joined += text.substr(first, end - first);
        start = end + 1;
    }
    return joined;
}
