#include "ZorvRenderBoxText.h"

#include <sstream>
#include <vector>

#include "ZorvRenderError.h"

namespace zorvrender {

std::string NormaliseBoxText(std::string const& text) {
  std::istringstream in(text);
  std::vector<std::string> words;
  for (std::string word; in >> word;) {
    words.push_back(word);
  }
  size_t first = 0;
  if (!words.empty() && words[0] == "zorv.pan~") {
    first = 1;
  }
  if (first < words.size() && words[first][0] != '@') {
    throw RenderError(ExitBadBox, "box text \"" + text + "\": \"" + words[first] +
                                      "\" is not an attribute; the box takes only attributes, "
                                      "e.g. \"@numinputs 2 @numoutputs 8 @type vbap2d\"");
  }
  std::string normalised;
  for (size_t i = first; i < words.size(); ++i) {
    if (!normalised.empty()) {
      normalised += ' ';
    }
    normalised += words[i];
  }
  return normalised;
}

}  // namespace zorvrender
