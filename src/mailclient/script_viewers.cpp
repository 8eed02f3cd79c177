// The scripting objects of what is shown: message viewers and their windows.
#include <algorithm>
#include <array>

#include "base/error_numbers.h"
#include "mailclient/script_model.h"

namespace quillbox::mailclient {
namespace {

namespace as = applescript;

constexpr std::array<Code, 6> kPurposes = {code("inmb"), code("drmb"), code("stmb"),
                                           code("trmb"), code("jkmb"), code("oumb")};

Outcome<Value> unknown() {
  return as::failure(as::error::noSuchObject);
}

// What a viewer and its window share: they are one thing on the screen.
class Shown : public as::ScriptObject {
 public:
  Shown(MailModel& model, int id, int Viewer::* member) : model_(model), id_(id), member_(member) {}
  int id() const { return id_; }

 protected:
  Outcome<Viewer> viewer() {
    const auto state = model_.views();
    if (!state) return std::unexpected(state.error());
    const auto found = std::ranges::find(state->viewers, id_, member_);
    if (found == state->viewers.end()) return as::failure(as::error::noSuchObject);
    return *found;
  }

  Outcome<void> change(const std::function<void(Viewer&)>& change) {
    return model_.changeViews([&](ViewState& state) -> Result<void> {
      const auto found = std::ranges::find(state.viewers, id_, member_);
      if (found == state.viewers.end()) return fail(error_number::objectNotFound, "");
      change(*found);
      return {};
    });
  }

  Outcome<void> setSwitch(const Value& value, bool Viewer::* member) {
    if (!value.is(as::Kind::Boolean)) return as::failure(as::error::cannotSet);
    return change([&](Viewer& viewer) { viewer.*member = value.asBoolean(); });
  }

  std::string title(const Viewer& viewer) {
    if (viewer.mailboxes.empty())
      return std::string(model_.application().terminology().propertyName(code("inmb")));
    return std::string(leafName(viewer.mailboxes.front().path));
  }

  MailModel& model_;

 private:
  int id_;
  int Viewer::* member_;
};

class ViewerObject final : public Shown {
 public:
  ViewerObject(MailModel& model, int id) : Shown(model, id, &Viewer::id) {}

  Code classCode() const override { return code("mvwr"); }
  Value specifier() const override {
    return as::element::identified(Value::application(model_.application()), classCode(),
                                   Value::integer(id()));
  }

  Outcome<Value> property(Code property) override {
    if (property == code("pcls")) return Value::className(classCode());
    if (property == code("ID  ")) return Value::integer(id());
    if (std::ranges::find(kPurposes, property) != kPurposes.end()) {
      return Value::live(purposeMailboxObject(model_, property, specifier()));
    }
    const auto viewer = this->viewer();
    if (!viewer) return std::unexpected(viewer.error());
    switch (property) {
      case code("pnam"):
        return Value::text(title(*viewer));
      case code("pvis"):
        return Value::boolean(viewer->visible);
      case code("cwin"):
        return Value::live(windowObject(model_, viewer->windowId));
      case code("mvsr"):
        return Value::boolean(viewer->sortedAscending);
      case code("mvoc"):
        return Value::boolean(viewer->byConversation);
      case code("mlsh"):
        return Value::boolean(viewer->mailboxListVisible);
      case code("mvpv"):
        return Value::boolean(viewer->previewPaneVisible);
      case code("mvsc"):
        return Value::constant(code(viewer->sortColumn));
      case code("smgs"):
        return liveList(messageObjects(model_, model_.present(viewer->selected)));
      case code("mvfm"): {
        const auto shown = elements(code("mssg"));
        if (!shown) return std::unexpected(shown.error());
        return liveList(*shown);
      }
      case code("msbx"): {
        const auto keys = shownMailboxes(*viewer);
        if (!keys) return std::unexpected(keys.error());
        std::vector<ObjectRef> objects;
        for (const auto& key : *keys) objects.push_back(mailboxObject(model_, key));
        return liveList(objects);
      }
      default:
        return unknown();
    }
  }

  Outcome<void> setProperty(Code property, const Value& value) override {
    switch (property) {
      case code("pvis"):
        return setSwitch(value, &Viewer::visible);
      case code("mvsr"):
        return setSwitch(value, &Viewer::sortedAscending);
      case code("mvoc"):
        return setSwitch(value, &Viewer::byConversation);
      case code("mlsh"):
        return setSwitch(value, &Viewer::mailboxListVisible);
      case code("mvpv"):
        return setSwitch(value, &Viewer::previewPaneVisible);
      case code("mvsc"): {
        const auto column = value.is(as::Kind::Constant) ? as::codeText(value.asCode()) : std::string();
        if (!column.starts_with("ec")) return as::failure(as::error::cannotSet);
        return change([&](Viewer& viewer) { viewer.sortColumn = column; });
      }
      case code("smgs"): {
        auto keys = messagesIn(value);
        if (!keys) return std::unexpected(keys.error());
        return change([&](Viewer& viewer) { viewer.selected = std::move(*keys); });
      }
      case code("msbx"): {
        auto keys = mailboxesIn(value);
        if (!keys) return std::unexpected(keys.error());
        return change([&](Viewer& viewer) {
          viewer.mailboxes = std::move(*keys);
          // What is not shown is not selected.
          std::erase_if(viewer.selected, [&](const MessageKey& key) {
            return std::ranges::find(viewer.mailboxes, key.mailbox) == viewer.mailboxes.end();
          });
        });
      }
      default:
        return ScriptObject::setProperty(property, value);
    }
  }

  Outcome<std::vector<ObjectRef>> elements(Code elementClass) override {
    if (elementClass != code("mssg")) return ScriptObject::elements(elementClass);
    const auto viewer = this->viewer();
    if (!viewer) return std::unexpected(viewer.error());
    const auto mailboxes = shownMailboxes(*viewer);
    if (!mailboxes) return std::unexpected(mailboxes.error());
    std::vector<ObjectRef> objects;
    for (const auto& mailbox : *mailboxes) {
      const auto keys = model_.messages(mailbox);
      // A mailbox that is gone shows nothing.
      if (keys) std::ranges::move(messageObjects(model_, *keys), std::back_inserter(objects));
    }
    return objects;
  }

  Outcome<void> remove() override {
    return model_.changeViews([&](ViewState& state) -> Result<void> {
      std::erase_if(state.viewers, [&](const Viewer& viewer) { return viewer.id == id(); });
      return {};
    });
  }

 private:
  Outcome<std::vector<MailboxKey>> shownMailboxes(const Viewer& viewer) {
    return viewer.mailboxes.empty() ? model_.mailboxesFor(code("inmb"))
                                    : Outcome<std::vector<MailboxKey>>(viewer.mailboxes);
  }
};

class WindowObject final : public Shown {
 public:
  WindowObject(MailModel& model, int id) : Shown(model, id, &Viewer::windowId) {}

  Code classCode() const override { return code("cwin"); }
  Value specifier() const override {
    return as::element::identified(Value::application(model_.application()), classCode(),
                                   Value::integer(id()));
  }

  Outcome<Value> property(Code property) override {
    if (property == code("pcls")) return Value::className(classCode());
    if (property == code("ID  ")) return Value::integer(id());
    const auto viewer = this->viewer();
    if (!viewer) return std::unexpected(viewer.error());
    switch (property) {
      case code("pnam"):
        return Value::text(title(*viewer));
      case code("pidx"):
        return index();
      case code("pvis"):
        return Value::boolean(viewer->visible);
      case code("pmnd"):
        return Value::boolean(viewer->miniaturized);
      case code("pzum"):
        return Value::boolean(viewer->zoomed);
      case code("hclb"):
      case code("ismn"):
      case code("prsz"):
      case code("iszm"):
        return Value::boolean(true);
      case code("pbnd"): {
        std::vector<Value> edges;
        for (const auto edge : viewer->bounds) edges.push_back(Value::integer(edge));
        return Value::list(std::move(edges));
      }
      default:
        return unknown();
    }
  }

  Outcome<void> setProperty(Code property, const Value& value) override {
    switch (property) {
      case code("pvis"):
        return setSwitch(value, &Viewer::visible);
      case code("pmnd"):
        return setSwitch(value, &Viewer::miniaturized);
      case code("pzum"):
        return setSwitch(value, &Viewer::zoomed);
      case code("pidx"):
        if (!value.isNumber() || value.asReal() < 1) return as::failure(as::error::cannotSet);
        return model_.changeViews([&](ViewState& state) -> Result<void> {
          const auto from = std::ranges::find(state.viewers, id(), &Viewer::windowId);
          if (from == state.viewers.end()) return fail(error_number::objectNotFound, "");
          auto viewer = *from;
          state.viewers.erase(from);
          const auto last = static_cast<double>(state.viewers.size());
          const auto place = static_cast<std::ptrdiff_t>(std::min(value.asReal() - 1, last));
          state.viewers.insert(state.viewers.begin() + place, std::move(viewer));
          return {};
        });
      case code("pbnd"): {
        std::array<int, 4> bounds{};
        if (value.items().size() != bounds.size()) return as::failure(as::error::cannotSet);
        for (std::size_t i = 0; i < bounds.size(); ++i) {
          const auto& edge = value.items()[i];
          if (!edge.isNumber() || edge.asReal() < -1'000'000 || edge.asReal() > 1'000'000) {
            return as::failure(as::error::cannotSet);
          }
          bounds[i] = static_cast<int>(edge.asReal());
        }
        return change([&](Viewer& viewer) { viewer.bounds = bounds; });
      }
      default:
        return ScriptObject::setProperty(property, value);
    }
  }

  Outcome<void> remove() override {
    return model_.changeViews([&](ViewState& state) -> Result<void> {
      std::erase_if(state.viewers, [&](const Viewer& viewer) { return viewer.windowId == id(); });
      return {};
    });
  }

 private:
  Outcome<Value> index() {
    const auto state = model_.views();
    if (!state) return std::unexpected(state.error());
    const auto found = std::ranges::find(state->viewers, id(), &Viewer::windowId);
    return Value::integer(found - state->viewers.begin() + 1);
  }
};

}  // namespace

ObjectRef viewerObject(MailModel& model, int viewerId) {
  return std::make_shared<ViewerObject>(model, viewerId);
}
ObjectRef windowObject(MailModel& model, int windowId) {
  return std::make_shared<WindowObject>(model, windowId);
}

}  // namespace quillbox::mailclient
