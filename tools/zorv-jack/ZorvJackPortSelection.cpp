#include "ZorvJackPortSelection.h"

#include <regex.h>

#include <algorithm>

namespace zorvjack {

std::vector<std::string> SelectPorts(std::string const& text,
                                     std::vector<std::string> const& candidates,
                                     std::string& error) {
  std::vector<std::string> selected;
  error.clear();
  auto take = [&selected](std::string const& name) {
    if (std::find(selected.begin(), selected.end(), name) == selected.end()) {
      selected.push_back(name);
    }
  };
  std::size_t start = 0;
  while (start <= text.size()) {
    std::size_t end = text.find(',', start);
    if (end == std::string::npos) end = text.size();
    std::string item = text.substr(start, end - start);
    std::size_t const first = item.find_first_not_of(" \t");
    std::size_t const last = item.find_last_not_of(" \t");
    item = first == std::string::npos ? std::string() : item.substr(first, last - first + 1);
    start = end + 1;
    if (item.empty()) continue;
    if (std::find(candidates.begin(), candidates.end(), item) != candidates.end()) {
      take(item);
      continue;
    }
    // POSIX extended expressions, searched anywhere in the name, as JACK's
    // own port lookup reads them.
    regex_t pattern;
    int const failed = regcomp(&pattern, item.c_str(), REG_EXTENDED | REG_NOSUB);
    if (failed != 0) {
      char why[256];
      regerror(failed, &pattern, why, sizeof(why));
      error = "\"" + item + "\" is neither a port nor a regular expression (" + why + ")";
      return {};
    }
    for (auto const& name : candidates) {
      if (regexec(&pattern, name.c_str(), 0, nullptr, 0) == 0) take(name);
    }
    regfree(&pattern);
  }
  return selected;
}

}  // namespace zorvjack
