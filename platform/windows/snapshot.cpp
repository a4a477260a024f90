#include "platform/windows/snapshot.h"

#include "platform/windows/desktop.h"

namespace portwise::platform {
namespace {

using Json = nlohmann::json;

// Each member is named once: the same function reads and writes.
class Writer {
 public:
  explicit Writer(Json& json) : json_(json) {}

  template <class Value>
  void Field(const char* name, const Value& value) {
    json_[name] = value;
  }
  void Field(const char* name, HWND window) { json_[name] = NumberOf(window); }
  void Field(const char* name, const RECT& rect) { json_[name] = {rect.left, rect.top, rect.right, rect.bottom}; }
  template <class Item>
  void List(const char* name, const std::vector<Item>& items);

 private:
  Json& json_;
};

class Reader {
 public:
  explicit Reader(const Json& json) : json_(json) {}

  template <class Value>
  void Field(const char* name, Value& value) {
    json_.at(name).get_to(value);
  }
  void Field(const char* name, HWND& window) { window = WindowOf(json_.at(name).get<std::uint32_t>()); }
  void Field(const char* name, RECT& rect) {
    const Json& sides = json_.at(name);
    rect = {sides.at(0), sides.at(1), sides.at(2), sides.at(3)};
  }
  template <class Item>
  void List(const char* name, std::vector<Item>& items);

 private:
  const Json& json_;
};

template <class Archive, class View>
void Describe(Archive& archive, View& view) requires requires {
  view.className;
}
{
  archive.Field("handle", view.handle);
  archive.Field("class", view.className);
  archive.Field("id", view.id);
  archive.Field("text", view.text);
  archive.Field("rect", view.rect);
  archive.Field("client", view.client);
  archive.Field("style", view.style);
  archive.Field("extendedStyle", view.extendedStyle);
  archive.Field("visible", view.visible);
  archive.Field("enabled", view.enabled);
  archive.Field("minimized", view.minimized);
  archive.Field("icon", view.icon);
  archive.Field("smallIcon", view.smallIcon);
  archive.Field("image", view.image);
  archive.Field("low", view.low);
  archive.Field("high", view.high);
  archive.Field("position", view.position);
  archive.List("children", view.children);
}

template <class Archive, class View>
void Describe(Archive& archive, View& view) requires requires {
  view.separator;
}
{
  archive.Field("id", view.id);
  archive.Field("text", view.text);
  archive.Field("separator", view.separator);
  archive.Field("enabled", view.enabled);
  archive.Field("checked", view.checked);
  archive.Field("default", view.isDefault);
  archive.List("items", view.items);
}

template <class Archive, class View>
void Describe(Archive& archive, View& view) requires requires {
  view.x;
}
{
  archive.Field("window", view.window);
  archive.Field("x", view.x);
  archive.Field("y", view.y);
  archive.List("items", view.items);
}

template <class Archive, class View>
void Describe(Archive& archive, View& view) requires requires {
  view.tip;
}
{
  archive.Field("window", view.window);
  archive.Field("id", view.id);
  archive.Field("icon", view.icon);
  archive.Field("tip", view.tip);
}

template <class Item>
void Writer::List(const char* name, const std::vector<Item>& items) {
  Json& list = json_[name] = Json::array();
  for (const Item& item : items) {
    Writer below(list.emplace_back(Json::object()));
    Describe(below, item);
  }
}

template <class Item>
void Reader::List(const char* name, std::vector<Item>& items) {
  for (const Json& each : json_.at(name)) {
    Reader below(each);
    Describe(below, items.emplace_back());
  }
}

}  // namespace

Json ToJson(const ProcessView& view) {
  Json json;
  Writer writer(json);
  writer.Field("process", view.process);
  writer.List("windows", view.windows);
  writer.List("icons", view.icons);
  writer.List("menu", view.menu ? std::vector<MenuView>{*view.menu} : std::vector<MenuView>{});
  return json;
}

ProcessView FromJson(const Json& json) {
  ProcessView view;
  Reader reader(json);
  reader.Field("process", view.process);
  reader.List("windows", view.windows);
  reader.List("icons", view.icons);
  std::vector<MenuView> menus;
  reader.List("menu", menus);
  if (!menus.empty()) view.menu = std::move(menus.front());
  return view;
}

}  // namespace portwise::platform
