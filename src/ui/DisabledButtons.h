#pragma once

// Qt Quick (6.4) tells screen readers every button is enabled, even one that cannot be
// pressed. Installed once, this has each button report what its item says.
namespace DisabledButtons {

void install();

} // namespace DisabledButtons
