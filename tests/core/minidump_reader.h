#pragma once

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace portwise {

/// Reads a minidump by the offsets that the format gives, and by nothing of the code that writes it.
class MinidumpReader {
 public:
  explicit MinidumpReader(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    bytes_ = text.str();
    if (bytes_.substr(0, 4) != "MDMP") throw std::runtime_error("no minidump: " + path.string());
    const auto directory = At<uint32_t>(12);
    for (uint32_t i = 0; i < At<uint32_t>(8); ++i) {
      streams_[At<uint32_t>(directory + 12 * i)] = {At<uint32_t>(directory + 12 * i + 8),
                                                    At<uint32_t>(directory + 12 * i + 4)};
    }
  }

  struct Place {
    size_t at;
    size_t size;
  };
  /// Throws when the stream is missing or does not lie in the file.
  Place Stream(uint32_t type) const {
    const Place place = streams_.at(type);
    if (place.at + place.size > bytes_.size()) throw std::runtime_error("a stream is cut");
    return place;
  }

  template <class Value>
  Value At(size_t place) const {
    Value value;
    if (place + sizeof value > bytes_.size()) throw std::runtime_error("past the end of the dump");
    std::memcpy(&value, &bytes_[place], sizeof value);
    return value;
  }
  std::string Bytes(size_t place, size_t size) const { return bytes_.substr(place, size); }

  // the exception, and the registers of its context
  uint32_t ExceptionThread() const { return At<uint32_t>(Stream(6).at); }
  uint32_t ExceptionCode() const { return At<uint32_t>(Stream(6).at + 8); }
  uint64_t ExceptionAddress() const { return At<uint64_t>(Stream(6).at + 24); }
  uint64_t ExceptionParameter(int index) const { return At<uint64_t>(Stream(6).at + 40 + 8 * index); }
  size_t ContextPlace() const { return At<uint32_t>(Stream(6).at + 164); }
#ifdef __i386__
  uint64_t Rip() const { return At<uint32_t>(ContextPlace() + 0xB8); }
  uint64_t Rsp() const { return At<uint32_t>(ContextPlace() + 0xC4); }
#else
  uint64_t Rip() const { return At<uint64_t>(ContextPlace() + 0xF8); }
  uint64_t Rsp() const { return At<uint64_t>(ContextPlace() + 0x98); }
#endif

  struct Thread {
    uint64_t stackStart;
    std::string stack;
    Place context;
  };
  std::map<uint32_t, Thread> Threads() const {
    std::map<uint32_t, Thread> threads;
    const size_t list = Stream(3).at;
    for (uint32_t i = 0; i < At<uint32_t>(list); ++i) {
      const size_t entry = list + 4 + 48 * i;
      threads[At<uint32_t>(entry)] = {At<uint64_t>(entry + 24),
                                      Bytes(At<uint32_t>(entry + 36), At<uint32_t>(entry + 32)),
                                      {At<uint32_t>(entry + 44), At<uint32_t>(entry + 40)}};
    }
    return threads;
  }

  struct Module {
    uint64_t base;
    uint32_t size;
    std::string name;
    std::string codeView;
  };
  std::vector<Module> Modules() const {
    std::vector<Module> modules;
    const size_t list = Stream(4).at;
    for (uint32_t i = 0; i < At<uint32_t>(list); ++i) {
      const size_t entry = list + 4 + 108 * i;
      std::string name;
      const auto text = At<uint32_t>(entry + 20);
      for (uint32_t unit = 0; unit < At<uint32_t>(text); unit += 2) name += bytes_.at(text + 4 + unit);
      modules.push_back({At<uint64_t>(entry), At<uint32_t>(entry + 8), name,
                         Bytes(At<uint32_t>(entry + 80), At<uint32_t>(entry + 76))});
    }
    return modules;
  }

  /// The memory from `address` on; empty when the dump does not have all of it.
  std::string Memory(uint64_t address, uint64_t size) const {
    const size_t list = Stream(9).at;
    auto place = At<uint64_t>(list + 8);
    for (uint64_t i = 0; i < At<uint64_t>(list); ++i) {
      const auto start = At<uint64_t>(list + 16 + 16 * i);
      const auto length = At<uint64_t>(list + 24 + 16 * i);
      if (address >= start && address + size <= start + length) return Bytes(place + address - start, size);
      place += length;
    }
    return {};
  }

 private:
  std::string bytes_;
  std::map<uint32_t, Place> streams_;
};

}  // namespace portwise
