#pragma once

namespace Orvel {

// Common base of the tools that are effects; its only virtual operation is the destructor.
class CBaseEffect {
 public:
  virtual ~CBaseEffect() = default;
};

}  // namespace Orvel
