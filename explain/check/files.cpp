#include "explain/check/files.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <unistd.h>

std::optional<struct stat> state_of(const std::string& path) {
  struct stat state {};
  if (stat(path.c_str(), &state) != 0) return std::nullopt;
  return state;
}

bool others_may_write(const struct stat& state) {
  return state.st_uid != 0 || (state.st_mode & (S_IWGRP | S_IWOTH)) != 0;
}

std::string mode_of(const struct stat& state) {
  char text[16];
  snprintf(text, sizeof text, "mode %04o", state.st_mode & 07777U);
  return text;
}

std::string words_of(int error) {
  return strerror(error);
}

bool is_hidden_from_us(int error) {
  return error == EACCES && geteuid() != 0;
}

std::optional<std::vector<std::string>> control_lines(const std::string& path,
                                                      Inspection& inspection) {
  errno = 0;
  std::ifstream file(path);
  if (!file.is_open()) {
    if (errno != ENOENT) inspection.Unseen(path, words_of(errno));
    return std::nullopt;
  }
  std::vector<std::string> lines;
  for (std::string line; std::getline(file, line);) {
    line.erase(line.find_last_not_of(" \t") + 1);
    if (!line.empty() && line[0] != '#') lines.push_back(line);
  }
  return lines;
}

std::vector<std::string> fields_of(const std::string& line) {
  std::vector<std::string> fields;
  size_t start = 0;
  size_t colon = 0;
  while ((colon = line.find(':', start)) != std::string::npos) {
    fields.push_back(line.substr(start, colon - start));
    start = colon + 1;
  }
  fields.push_back(line.substr(start));
  return fields;
}
