/// The table of all running switches.
#pragma once

/// Prints the running switches of this user, as JSON if `raw`.
void show_fleet(bool raw);
