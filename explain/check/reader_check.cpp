#include <unistd.h>

#include "autoresponder/reader/reader.h"
#include "autoresponder/reader/reader_failure.h"
#include "explain/check/inspection.h"

namespace {

const char* words(Confinement confinement) {
  switch (confinement) {
    case Confinement::kIdentity:
      return "a user of its own";
    case Confinement::kNoPrivileges:
      return "the renunciation of privileges";
    case Confinement::kLimits:
      return "limits";
    case Confinement::kFileRules:
      return "rules for files (Landlock)";
    case Confinement::kSystemCalls:
      break;
  }
  return "a filter of system calls (seccomp)";
}

void report_missing(Inspection& inspection) {
  for (const Confinement missing : missing_confinements()) {
    if (missing == Confinement::kIdentity && geteuid() != 0) {
      inspection.Unseen("whether messages are read by another user",
                        "only root can change the user");
      continue;
    }
    inspection.Warning("reader_unconfined",
                       "The process that reads messages works without {}, which this system does "
                       "not let it have: a flaw in a parser gives more than it should. Use a newer "
                       "kernel, or give the container the right.",
                       words(missing));
  }
}

}  // namespace

void check_reader(Inspection& inspection) {
  try {
    report_missing(inspection);
  } catch (const ReaderFailure&) {
    inspection.Error("reader_fails",
                     "The process that reads messages cannot be started: no message gets a reply. "
                     "Does a limit on processes or memory keep it from that?");
  }
}
