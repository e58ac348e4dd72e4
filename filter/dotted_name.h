#ifndef WKAGENT_FILTER_DOTTED_NAME_H
#define WKAGENT_FILTER_DOTTED_NAME_H

namespace wkagent {

// Converts a typed name whose parts are separated by `separator` to dotted form, in place: with ','
// CN=admin,OU=sales,O=acme becomes admin.sales.acme. What stands between a separator and the next
// "=" is dropped, and the result is cut at 254 bytes. Returns `name`, or null, with the name
// unchanged, when it is null or has no "=".
char* ConvertTypedName(char* name, char separator);

}  // namespace wkagent

#endif  // WKAGENT_FILTER_DOTTED_NAME_H
