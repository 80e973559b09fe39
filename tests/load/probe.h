#ifndef GCUSCHEMA_TESTS_LOAD_PROBE_H
#define GCUSCHEMA_TESTS_LOAD_PROBE_H

// The load probe: a module linked against the protobuf runtime only, never
// against the schema library. Loaded after the schema library, it sees in the
// runtime's generated pool and factory exactly what the library registered
// while it was loading. A C interface, so that a host can call it through a
// bare symbol lookup.

#include <cstddef>

#if defined(_WIN32)
#  define GCUSCHEMA_PROBE_API extern "C" __declspec(dllexport)
#else
#  define GCUSCHEMA_PROBE_API extern "C" __attribute__((visibility("default")))
#endif

struct GcuSchemaProbeReport {
  int files_found;      // of the names asked for, files the generated pool has
  int records;          // records of those files, nested records included
  int enumerations;     // enumerations of those files, nested ones included
  int factory_records;  // records the generated factory gives a prototype for
  unsigned char encoding[128];
  std::size_t encoding_size;  // 0 when the sample could not be built
  char error[160];            // what went wrong, empty when nothing did
};

// Looks up `count` schema files by name and builds the sample document (see
// probe.cc) through the factory and reflection.
using GcuSchemaProbeRun = void (*)(const char* const* files, int count,
                                   GcuSchemaProbeReport* report);
GCUSCHEMA_PROBE_API void gcuschema_probe_run(const char* const* files, int count,
                                             GcuSchemaProbeReport* report);

#endif
