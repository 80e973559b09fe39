#ifndef GCUSCHEMA_DOC_EXPORT_H
#define GCUSCHEMA_DOC_EXPORT_H

// GCUSCHEMA_DOC_API marks what libgcuschema_doc exports (hidden visibility
// elsewhere), as GCUSCHEMA_API does for the schema library.
#if defined(GCUSCHEMA_DOC_STATIC)
#  define GCUSCHEMA_DOC_API
#elif defined(_WIN32) || defined(__CYGWIN__)
#  if defined(GCUSCHEMA_DOC_BUILDING)
#    define GCUSCHEMA_DOC_API __declspec(dllexport)
#  else
#    define GCUSCHEMA_DOC_API __declspec(dllimport)
#  endif
#else
#  define GCUSCHEMA_DOC_API __attribute__((visibility("default")))
#endif

#endif
