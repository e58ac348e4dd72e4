#ifndef WKAGENT_VERSION_H
#define WKAGENT_VERSION_H

// The one place where the version stands: CMake, pkg-config and `--version` read it from here.
// The major number is also the shared library's ABI version.
#define WKAGENT_VERSION_MAJOR 1
#define WKAGENT_VERSION_MINOR 0
#define WKAGENT_VERSION_PATCH 0
#define WKAGENT_VERSION "1.0.0"

#endif  // WKAGENT_VERSION_H
