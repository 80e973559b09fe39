#ifndef GCUSCHEMA_DOCUMENT_EXPORT_H
#define GCUSCHEMA_DOCUMENT_EXPORT_H

// GCUSCHEMA_DOCUMENT_API marks what libgcuschema_document exports (hidden visibility
// elsewhere), as GCUSCHEMA_API does for the schema library.
#if defined(GCUSCHEMA_DOCUMENT_STATIC)
#  define GCUSCHEMA_DOCUMENT_API
#elif defined(_WIN32) || defined(__CYGWIN__)
#  if defined(GCUSCHEMA_DOCUMENT_BUILDING)
#    define GCUSCHEMA_DOCUMENT_API __declspec(dllexport)
#  else
#    define GCUSCHEMA_DOCUMENT_API __declspec(dllimport)
#  endif
#else
#  define GCUSCHEMA_DOCUMENT_API __attribute__((visibility("default")))
#endif

#endif
