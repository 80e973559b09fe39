#ifndef GCUSCHEMA_EXPORT_H
#define GCUSCHEMA_EXPORT_H

// GCUSCHEMA_API marks what libgcuschema exports. The library is built with
// hidden visibility, so the export table holds exactly what a DLL build of
// the same sources exports on Windows.
#if defined(GCUSCHEMA_STATIC)
#  define GCUSCHEMA_API
#elif defined(_WIN32) || defined(__CYGWIN__)
#  if defined(GCUSCHEMA_BUILDING)
#    define GCUSCHEMA_API __declspec(dllexport)
#  else
#    define GCUSCHEMA_API __declspec(dllimport)
#  endif
#else
#  define GCUSCHEMA_API __attribute__((visibility("default")))
#endif

#endif
