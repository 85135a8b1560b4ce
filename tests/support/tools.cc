#include "tests/support/tools.h"

#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <sstream>

namespace kx::test {

int RunCommand(const std::string& command, std::string* output) {
  std::FILE* pipe = popen((command + " 2>&1").c_str(), "r");
  if (pipe == nullptr) return -1;
  std::string text;
  std::array<char, 4096> buffer{};
  for (size_t n = 0; (n = std::fread(buffer.data(), 1, buffer.size(), pipe)) > 0;) {
    text.append(buffer.data(), n);
  }
  const int status = pclose(pipe);
  if (output != nullptr) *output = text;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::string MissingTools(std::initializer_list<const char*> tools) {
  std::string missing;
  for (const char* tool : tools) {
    if (RunCommand(std::string("command -v ") + tool + " >/dev/null") != 0) {
      missing += (missing.empty() ? "" : " ") + std::string(tool);
    }
  }
  return missing;
}

std::vector<ProbedPacket> ProbePackets(const std::string& path, const std::string& selector) {
  std::string text;
  RunCommand("ffprobe -v quiet -select_streams " + selector +
                 " -show_entries packet=pts,size,pos,flags -of compact=p=0 '" + path + "'",
             &text);
  std::vector<ProbedPacket> packets;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    ProbedPacket& packet = packets.emplace_back();
    std::istringstream fields(line);
    for (std::string field; std::getline(fields, field, '|');) {
      const std::string key = field.substr(0, field.find('='));
      const std::string value = field.substr(key.size() + 1);
      const int64_t number = value == "N/A" ? -1 : std::atoll(value.c_str());
      if (key == "pts") packet.pts = number;
      if (key == "size") packet.size = number;
      if (key == "pos") packet.pos = number;
      if (key == "flags") packet.key = value[0] == 'K';
    }
  }
  return packets;
}

}  // namespace kx::test
