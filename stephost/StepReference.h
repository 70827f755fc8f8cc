// The step reference: what the module declares for each class, with one line
// of meaning per input and parameter, as text for the terminal or as the
// Markdown of docs/steps.md.
#pragma once

#include <string>
#include <vector>

#include "stephost/StepClasses.h"

namespace stephost {

std::string referenceText(const std::vector<StepClass>& classes);
std::string referenceMarkdown(const std::vector<StepClass>& classes);

}  // namespace stephost
