// Pictures for icons: colourful enough that a pixel out of place shows.
#pragma once

#include "tests/support/TestIcons.h"

namespace veskard::test {

/// Every pixel another colour; alpha runs through all values from 0 to 255.
Picture SeeThroughPattern(int size);

/// Solid colours around a corner and a middle that are not there.
Picture SolidPattern(int size);

/// The picture once it was drawn onto an empty bitmap: a pixel with alpha 0 leaves
/// the bitmap as it was, without colour.
Picture DrawnOnEmpty(Picture picture);

}  // namespace veskard::test
