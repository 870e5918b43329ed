// Standard input, read with an eye on interrupts that are held off.
#ifndef TOOLS_ONDREL_STANDARDINPUT_H
#define TOOLS_ONDREL_STANDARDINPUT_H

#include <functional>
#include <string>
#include <string_view>

namespace OndrelTool {

// Hands all bytes to `take`, piece by piece. Throws a Failure, or Interrupted.
void ReadStandardInput(const std::function<void(std::string_view)>& take);

// The whole; throws a Failure where it is longer.
std::string ReadStandardInput(std::size_t most);

}  // namespace OndrelTool

#endif
