// A host that has no settings and no batch files, so that its library has something to say in both
// of its logs.

#include <wkagent/syslog.h>

int main() {
  WKSyslogSender sender;
  sender.retryHandler.retryPendingFiles();
}
