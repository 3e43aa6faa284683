// Symbol visibility for the public interface. The libraries are built with
// hidden visibility by default; only what carries QZ_EXPORT leaves them.
#ifndef QZ_EXPORT_H
#define QZ_EXPORT_H

#if defined(__GNUC__)
#define QZ_EXPORT __attribute__((visibility("default")))
#else
#define QZ_EXPORT
#endif

#endif
