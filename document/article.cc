#include "article.h"

#include <array>
#include <cctype>
#include <cstddef>

namespace gcuschema::document::internal {
namespace {

char Lower(char c) { return static_cast<char>(std::tolower(static_cast<unsigned char>(c))); }

bool StartsWithVowelSound(std::string_view name) {
  if (name.empty()) return false;
  switch (Lower(name[0])) {
    case 'a':
    case 'e':
    case 'i':
    case 'o': return true;
    case 'u': {
      // A "u" said "you": unit, use, usual, utility, urine, ...
      static constexpr std::array<std::string_view, 8> kYou = {"uni", "use", "usu", "uti", "ura", "ure", "uri", "uro"};
      std::string start;
      for (std::size_t i = 0; i < 3 && i < name.size(); ++i) start += Lower(name[i]);
      for (const std::string_view you : kYou) {
        if (start == you) return false;
      }
      return true;
    }
    default: return false;
  }
}

}  // namespace

std::string WithArticle(std::string_view name) {
  std::string out = StartsWithVowelSound(name) ? "an " : "a ";
  out.append(name.data(), name.size());
  return out;
}

}  // namespace gcuschema::document::internal
