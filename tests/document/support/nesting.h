#ifndef GCUSCHEMA_TESTS_DOCUMENT_SUPPORT_NESTING_H
#define GCUSCHEMA_TESTS_DOCUMENT_SUPPORT_NESTING_H

#include <string>

namespace gcuschema::test {

// Documents that hold themselves in a `config`, as a pairing that names a
// document record for an entry allows. Each names the pairing that reads
// them so (the tool's --pair argument).
struct Nesting {
  const char* pairing;
};

inline constexpr Nesting kInputHoldsConfig{"input:0=ConfigData"};
inline constexpr Nesting kInputHoldsDevice{"input:0=DeviceData"};
inline constexpr Nesting kDriverHoldsConfig{"driver:0=ConfigData"};

// The encoding of a ConfigData whose first input (type 0) or first driver
// (type 0) holds in its `config` a ConfigData, or a DeviceData whose config
// is such a ConfigData, `levels` times over: `levels` levels of `config`.
std::string NestedConfig(const Nesting& nesting, int levels);

// The pairing's letters and digits, as a test name: "input0ConfigData".
std::string NestingName(const Nesting& nesting);

}  // namespace gcuschema::test

#endif
