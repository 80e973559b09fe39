#ifndef GCUSCHEMA_DOCUMENT_SUGGEST_H
#define GCUSCHEMA_DOCUMENT_SUGGEST_H

// Private to the document library: what to say when a name is not known
// (a record, an entry kind, a type code, a field, an enumeration value), so
// that every lookup words it alike and points at the name most likely meant.

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace gcuschema::document::internal {

// The candidates close enough to `wrong` to be a slip of the keyboard, the
// closest first (at most `limit`): a different capitalisation, a few
// letters added, dropped, changed or swapped, or the start of a longer name.
std::vector<std::string> ClosestNames(std::string_view wrong, const std::vector<std::string>& candidates,
                                      std::size_t limit = 3);

// What follows an unknown name: "did you mean \"inMinValue\"?" (or "\"A\" or
// \"B\"?"); with nothing close, the valid names ("the valid names are input,
// output and map") when they are few; else nothing.
std::string Suggestion(std::string_view wrong, const std::vector<std::string>& candidates);

// The one wording of an unknown name: "\"Confgdata\" is not a record of the
// schema library; did you mean \"ConfigData\"?". `what` names what was
// looked for, with its article ("an entry kind", "a field of Input").
// `named`, when given, says whether the message names any candidate (if
// not, the caller's Remedy can point at where they are listed).
std::string UnknownName(std::string_view what, std::string_view wrong, const std::vector<std::string>& candidates,
                        bool* named = nullptr);

// The wording of a name that is not a value of the enumeration named
// `enumeration`: as UnknownName, with the valid names listed whenever they
// are few, a close one found or not ("the values are kPa, Bar and mBar").
std::string UnknownValue(std::string_view enumeration, std::string_view wrong, const std::vector<std::string>& values);

}  // namespace gcuschema::document::internal

#endif
