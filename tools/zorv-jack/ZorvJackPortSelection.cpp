#include "ZorvJackPortSelection.h"

#include <algorithm>
#include <regex>

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
    try {
      std::regex const pattern(item, std::regex::extended | std::regex::nosubs);
      for (auto const& name : candidates) {
        if (std::regex_search(name, pattern)) take(name);
      }
    } catch (std::regex_error const& e) {
      error = "\"" + item + "\" is neither a port nor a regular expression (" + e.what() + ")";
      return {};
    }
  }
  return selected;
}

}  // namespace zorvjack
