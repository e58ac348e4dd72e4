#include "forward/relay.h"

#include <fstream>

namespace wkagent::bench {

std::vector<std::string> RsyslogdRelay(const RelayPlan& plan) {
  const std::string settings = plan.folder + "/rsyslog.conf";
  const bool tls = !plan.authority.empty();
  std::ofstream file(settings);
  file << "global(workDirectory=\"" << plan.folder << "\" net.enableDNS=\"off\"";
  if (tls) file << " defaultNetstreamDriverCAFile=\"" << plan.authority << "\"";
  file << ")\nmodule(load=\"imtcp\")\n"
       << "template(name=\"asReceived\" type=\"string\" string=\"%rawmsg%\\n\")\n"
       << "input(type=\"imtcp\" address=\"127.0.0.1\" port=\"" << plan.from
       << "\" ruleset=\"forward\")\n"
       << "ruleset(name=\"forward\") {\n"
       << "  action(type=\"omfwd\" target=\"127.0.0.1\" port=\"" << plan.to
       << "\" protocol=\"tcp\" template=\"asReceived\"";
  if (tls) {
    file << " StreamDriver=\"ossl\" StreamDriverMode=\"1\" StreamDriverAuthMode=\"x509/certvalid\"";
  }
  file << ")\n}\n";
  return {WKAGENT_RSYSLOGD, "-n", "-iNONE", "-M", WKAGENT_RSYSLOG_MODULES, "-f", settings};
}

std::vector<std::string> SyslogNgRelay(const RelayPlan& plan) {
  const std::string settings = plan.folder + "/syslog-ng.conf";
  const bool tls = !plan.authority.empty();
  std::ofstream file(settings);
  // The window and the queue are as large as the lines that may be under way; with less it waits.
  file << "@version: 3.38\noptions { use-dns(no); dns-cache(no); log-fifo-size(100000); };\n"
       << "source lines { network(ip(\"127.0.0.1\") port(" << plan.from
       << ") transport(\"tcp\") flags(no-parse) log-iw-size(100000)); };\n"
       << "destination sink { network(\"127.0.0.1\" port(" << plan.to << ") transport(\""
       << (tls ? "tls" : "tcp") << "\") template(\"${MESSAGE}\\n\")";
  if (tls) file << " tls(ca-file(\"" << plan.authority << "\") peer-verify(required-trusted))";
  file << "); };\nlog { source(lines); destination(sink); flags(flow-control); };\n";
  // The program knows its libraries by where its package would have put them.
  return {"env",
          "LD_LIBRARY_PATH=" WKAGENT_SYSLOG_NG_LIBRARIES,
          WKAGENT_SYSLOG_NG,
          "--foreground",
          "--no-caps",
          "--module-path=" WKAGENT_SYSLOG_NG_MODULES,
          "--cfgfile=" + settings,
          "--persist-file=" + plan.folder + "/persist",
          "--pidfile=" + plan.folder + "/pid",
          "--control=" + plan.folder + "/control"};
}

}  // namespace wkagent::bench
