#ifndef WKAGENT_AGENT_REPORT_H
#define WKAGENT_AGENT_REPORT_H

#include <string>
#include <string_view>

namespace wkagent {

// Prints one line for the operator on standard error, "wkagentd: TEXT". Control characters but tab
// and line feed are printed as "\x1b".
void Report(std::string_view text);

// The same for the library's messages: a callback for WKLogStatus::InitializeLogMessage.
void ReportLibraryMessage(int level, char* message, char* extra);

// The same for messages that would only repeat what the agent reports itself.
void IgnoreLibraryMessage(int level, char* message, char* extra);

// Shows how far the work is, on a terminal: the text is overwritten by the next one and by the next
// line; an empty text only erases.
void ReportProgress(std::string_view text);

}  // namespace wkagent

#endif  // WKAGENT_AGENT_REPORT_H
