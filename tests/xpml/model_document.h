#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace portwise {

/// A parser of XPML sections that is slow and obvious: one byte at a time, everything in strings. It says what the
/// real one has to do, call by call.
class ModelDocument {
 public:
  struct Element {
    std::string name;
    std::vector<std::pair<std::string, std::string>> attributes;
    std::string content;
  };

  /// Called with "name" when an element opens and "/name" when one closes; may rewrite the content on top.
  std::function<void(ModelDocument&, const std::string& path)> onElement;
  /// Called with plain text; false refuses it.
  std::function<bool(ModelDocument&, const std::string& text)> onText;

  std::vector<Element> stack;
  bool pending = false;
  bool goOn = true;

  std::string Find(const std::string& element, const std::string& attribute) const {
    for (const Element& open : stack) {
      if (open.name != element) continue;
      for (const auto& [name, value] : open.attributes) {
        if (name == attribute) return value;
      }
    }
    return "(none)";
  }

  bool Parse(const std::string& chunk, int* consumed) {
    const int length = static_cast<int>(chunk.size());
    if (resume_ >= length) {
      *consumed = length;
      resume_ -= length;
      return true;
    }
    const int start = std::exchange(resume_, 0);
    if (!Flush()) {
      *consumed = start;
      if (pending) resume_ = start;
      return false;
    }
    for (int at = start; at < length; ++at) {
      Take(chunk, static_cast<size_t>(at));
      if (pending || !goOn) {
        resume_ = at + 1;
        *consumed = 0;
        return false;
      }
    }
    *consumed = length;
    return Flush();
  }

 private:
  static bool Space(char byte) { return byte >= 1 && byte <= 32; }
  static std::string Trim(std::string text) {
    while (!text.empty() && Space(text.back())) text.pop_back();
    while (!text.empty() && Space(text.front())) text.erase(0, 1);
    return text;
  }

  std::string& Current() { return stack.empty() ? top_ : stack.back().content; }

  bool Flush() {
    if (!stack.empty() || top_.empty()) return true;
    if (!onText(*this, top_)) return false;
    top_.clear();
    return true;
  }

  void Take(const std::string& chunk, size_t at) {
    const char byte = chunk[at];
    if (matching_ && byte == '<') {
      Current() += std::exchange(match_, "");
      matching_ = false;
      Take(chunk, at);
    } else if (matching_) {
      Match(byte);
    } else if (inTag_) {
      if (byte != '>') {
        tag_ += byte;
      } else {
        inTag_ = false;
        ProcessTag(std::exchange(tag_, ""));
      }
    } else if (inEntity_) {
      if (byte != ';') {
        entity_ += byte;
      } else {
        inEntity_ = false;
        Current() += Decode(std::exchange(entity_, ""));
      }
    } else if (inSection_) {
      if (byte == '<') {
        Flush();
        inTag_ = true;
      } else if (byte == '&') {
        inEntity_ = true;
      } else {
        Current() += byte;
      }
    } else if (byte == '<' && std::string("xpml>").compare(0, chunk.size() - at - 1, chunk, at + 1, 5) == 0) {
      Flush();
      matching_ = true;
      Match(byte);
    } else {
      Current() += byte;
    }
  }

  void Match(char byte) {
    match_ += byte;
    if (match_ != std::string("<xpml>").substr(0, match_.size())) {
      Current() += match_;
    } else if (match_.size() < 6) {
      return;
    } else {
      inSection_ = true;
    }
    matching_ = false;
    match_.clear();
  }

  void ProcessTag(std::string tag) {
    while (!tag.empty() && Space(tag.front())) tag.erase(0, 1);
    bool opens = true, closes = false;
    if (!tag.empty() && tag.front() == '/') {
      opens = false;
      closes = true;
      tag.erase(0, 1);
    }
    tag = Trim(tag);
    if (!tag.empty() && tag.back() == '/') {
      opens = closes = true;
      tag.pop_back();
      tag = Trim(tag);
    }
    const std::string name = tag.substr(0, tag.find(' '));
    if (name.empty()) return;
    if (opens) Open(name, tag.substr(name.size()));
    if (closes) Close(name);
  }

  void Open(const std::string& name, std::string text) {
    if (name == "xpml") {
      inSection_ = true;
      return;
    }
    Element element{name, {}, ""};
    for (;;) {
      const size_t equals = text.find('=');
      if (equals == text.npos) break;
      const std::string attribute = Trim(text.substr(0, equals));
      text.erase(0, equals + 1);
      while (!text.empty() && Space(text.front())) text.erase(0, 1);
      const char quote = text.empty() ? ' ' : text.front();
      if (quote == '"' || quote == '\'') {
        const size_t end = text.find(quote, 1);
        if (end == text.npos) break;
        element.attributes.emplace_back(attribute, text.substr(1, end - 1));
        text.erase(0, end + 1);
      } else {
        const size_t end = std::min(text.find_first_of(" \r\n\t"), text.size());
        element.attributes.emplace_back(attribute, text.substr(0, end));
        text.erase(0, end);
      }
    }
    stack.push_back(element);
    onElement(*this, name);
  }

  void Close(const std::string& name) {
    if (name == "xpml") {
      inSection_ = false;
      return;
    }
    if (stack.empty()) return;
    onElement(*this, "/" + name);
    const std::string content = stack.back().content;
    stack.pop_back();
    Current() += content;
  }

  static char Decode(std::string name) {
    name = name.substr(0, 6);
    if (name[0] == '#') return static_cast<char>(std::strtol(name.c_str() + 1, nullptr, 10));
    for (char& byte : name) byte = static_cast<char>(std::tolower(static_cast<unsigned char>(byte)));
    return name == "lt" ? '<' : name == "gt" ? '>' : name == "quot" ? '"' : name == "amp" ? '&' : '?';
  }

  std::string top_, match_, tag_, entity_;
  bool matching_ = false, inTag_ = false, inEntity_ = false, inSection_ = false;
  int resume_ = 0;
};

}  // namespace portwise
