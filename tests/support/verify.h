#pragma once

#include <cstdio>
#include <sstream>
#include <string>

#include "support/shared_data.h"

namespace test {

/// Output of the independent reader and verifier of database files for one of its commands; empty when it is
/// not there.
inline std::string RunVerifier(const std::string& verb, const std::string& path) {
  const std::string shared = SharedData();
  if (shared.empty()) return "";
  const std::string command = "python3 '" + shared + "/oracle/velodb.py' " + verb + " '" + path + "' 2>&1";
  std::string output;
  FILE* pipe = ::popen(command.c_str(), "r");
  if (!pipe) return "verifier does not start";
  char block[4096];
  while (const std::size_t got = std::fread(block, 1, sizeof block, pipe)) output.append(block, got);
  ::pclose(pipe);
  return output;
}

/// What it finds in a database, a line each; empty when it finds nothing. Lines that begin with "note:" tell
/// of what is allowed.
inline std::string Verify(const std::string& path) {
  const std::string output = RunVerifier("verify", path);
  const std::size_t end = output.rfind("ok\n");
  return end == std::string::npos ? output : output.substr(0, end);
}

/// The lines that tell of damage.
inline std::string Problems(const std::string& findings) {
  std::istringstream lines(findings);
  std::string problems;
  for (std::string line; std::getline(lines, line);)
    if (line.rfind("note:", 0) != 0 && line.find(" problem(s)") == std::string::npos) problems += line + "\n";
  return problems;
}

}  // namespace test
