#ifndef GCUSCHEMA_DOCUMENT_JSON_SCHEMA_PATTERNS_H
#define GCUSCHEMA_DOCUMENT_JSON_SCHEMA_PATTERNS_H

// Private to the document library: the regular expressions of the JSON
// Schema, each accepting only text the JSON reader reads (never more; a few
// lenient spellings the reader takes are left out). They hold in both
// dialects validators use: ECMA-262 (editors) and Python's re, whose `$`
// also matches before a final line break.

#include <cstdint>
#include <string>

namespace gcuschema::document::internal {

// `pattern` matching the whole string and nothing more.
std::string WholePattern(const std::string& pattern);

// Decimal digits without leading zeros ("0" itself) worth at most `limit`.
std::string DecimalAtMost(std::uint64_t limit);

// An integer in a string, as the reader takes it: a sign, leading zeros,
// digits, within [minimum, maximum] (minimum <= 0 <= maximum).
std::string QuotedIntegerPattern(std::int64_t minimum, std::uint64_t maximum);

// The same, but spelt one way only: no sign but a minus, no leading zeros
// ("-0" aside), so that a value's quoted spellings can be listed.
std::string PlainQuotedIntegerPattern(std::int64_t minimum, std::uint64_t maximum);

// A decimal in a string, without exponent, whose integer part has at most
// `integer_digits` digits: a finite value of a float (38) or double (308).
std::string QuotedDecimalPattern(int integer_digits);

// Base64 as the reader decodes it: either alphabet (standard and URL-safe),
// white space anywhere, at most two '=' after the digits, and a number of
// digits that bytes can give (not one more than a multiple of four).
std::string Base64Pattern();

// Text without a lone UTF-16 surrogate ("\ud800" unpaired), which no UTF-8
// string holds; pairs (characters beyond U+FFFF) are fine.
std::string UnicodeTextPattern();

}  // namespace gcuschema::document::internal

#endif
