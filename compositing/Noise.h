#pragma once

#include "orvel/compositing_params.h"

namespace Orvel {

// Fills host-supplied noise patterns.
class Noise {
 public:
  virtual ~Noise() = default;
};

}  // namespace Orvel
