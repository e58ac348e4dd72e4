#ifndef WKAGENT_COMPONENTS_H
#define WKAGENT_COMPONENTS_H

// The C interface of the mail and the SNMP component, which send what the alert classes of alert.h
// hand over.
//
// The library imports these functions from the process that loads it, as weak references: without
// them it loads and works, and a send reports that the component is not available. A host gets
// them by linking libwkagent-components, or by defining its own.
//
//   void* const mailer = FileMailer_Create(sink, wrapper, "");
//   FileMailer_Set(mailer, 22, 0, "mail.acme.example", 0);
//   const int result = FileMailer_Do(mailer, 11, 0, params, lengths);
//   FileMailer_Destroy(mailer);
//   printf("%d\n", result);
//
// Handles: Create gives one, Destroy ends it. `key` is not looked at. A handle belongs to one
// thread at a time. Integers travel in the pointer argument itself, as (void*)(intptr_t)2. A text
// whose length is given as 0 ends with a zero byte.
//
// Results: 0 is success. Everything else is an error, which has also been told to the event sink.
//
// Events: the component calls the sink, on the thread that called it, with the event's number and
// its parameters. Parameters that the sink may change are looked at again when it returns. While a
// mail is under way, FileMailer's event 6 (transfer: direction, bytes so far, text) comes at least
// once a second, with an empty text until all is sent: a sink that returns anything but 0 then
// breaks the mail off.

#include <wkagent/export.h>

#ifdef __cplusplus
extern "C" {
#endif

// NOLINTNEXTLINE(modernize-use-using): C hosts include this as well.
typedef int (*ComponentEventSink)(void* wrapper, int eventId, int count, void** params,
                                  int* lengths);

WKAGENT_EXPORT void* FileMailer_Create(ComponentEventSink sink, void* wrapper, const char* key);
WKAGENT_EXPORT int FileMailer_Set(void* handle, int property, int index, const void* value,
                                  int length);
WKAGENT_EXPORT int FileMailer_Do(void* handle, int method, int count, void** params, int* lengths);
WKAGENT_EXPORT int FileMailer_Destroy(void* handle);

WKAGENT_EXPORT void* SNMPAgent_Create(ComponentEventSink sink, void* wrapper, const char* key);
WKAGENT_EXPORT int SNMPAgent_Set(void* handle, int property, int index, const void* value,
                                 int length);
WKAGENT_EXPORT void* SNMPAgent_Get(void* handle, int property, int index, int* length);
WKAGENT_EXPORT int SNMPAgent_Do(void* handle, int method, int count, void** params, int* lengths);
WKAGENT_EXPORT int SNMPAgent_Destroy(void* handle);

#ifdef __cplusplus
}
#endif

#endif  // WKAGENT_COMPONENTS_H
