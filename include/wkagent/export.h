#ifndef WKAGENT_EXPORT_H
#define WKAGENT_EXPORT_H

// The library is built with hidden visibility: only what bears this macro leaves it.
#define WKAGENT_EXPORT __attribute__((visibility("default")))

#endif  // WKAGENT_EXPORT_H
