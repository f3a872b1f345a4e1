// One counter per line: the count, then its name.
#include "tool/common/Statistics.h"

#include <ctr/detail/Statistics.h>

#include <iomanip>
#include <locale>
#include <sstream>

namespace kxcontour {

void PrintStatistics(std::ostream& out) {
    constexpr int kWidth = 12;
    std::ostringstream text;
    text.imbue(std::locale::classic());
    for (const ctr::detail::StatisticsEntry& entry : ctr::detail::ReadStatistics()) {
        if (entry.count != 0) {
            text << std::setw(kWidth) << entry.count << ' ' << entry.name << '\n';
        }
    }
    out << text.str() << std::flush;
}

} // namespace kxcontour
