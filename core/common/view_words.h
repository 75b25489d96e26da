#pragma once

#include <map>
#include <string>

namespace torvel {

// The fixed words of one view (titles, labels, button captions), keyed by a name the view refers to them by.
// Each view's table is built in core with tr(), so the view shows them and decides none of them.
using ViewWords = std::map<std::string, std::string>;

}  // namespace torvel
