#include "simulator/findings/report.h"

namespace simulator::findings {

std::string full_message(const Finding &finding) {
  std::string text = finding.message;
  for (const std::string &note : finding.notes)
    text += "\n" + note;
  return text;
}

}  // namespace simulator::findings
