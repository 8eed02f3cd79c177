#include "depot.h"

#include <algorithm>

#include <gtest/gtest.h>

#include "applescript/objects.h"
#include "base/text.h"

namespace quillbox::applescript::cases {

namespace {

Value depotReference(Depot& depot) {
  return Value::application(depot);
}

class CrateObject final : public ScriptObject {
 public:
  CrateObject(Depot& depot, std::shared_ptr<Shelf> shelf, std::shared_ptr<Crate> crate)
      : depot_(depot), shelf_(std::move(shelf)), crate_(std::move(crate)) {}

  Code classCode() const override { return code("crat"); }
  Value specifier() const override {
    return element::identified(
        element::identified(depotReference(depot_), code("shlf"), Value::text(shelf_->id)), code("crat"),
        Value::integer(crate_->id));
  }
  Outcome<Value> property(Code property) override;
  Outcome<void> setProperty(Code property, const Value& value) override;
  Outcome<void> remove() override {
    if (crate_->sealed) return failure(error::handlerFailed, "The crate is sealed.");
    std::erase(shelf_->crates, crate_);
    return {};
  }
  Outcome<ObjectRef> moveTo(const Place& place) override;
  Outcome<ObjectRef> duplicateTo(const std::optional<Place>& place, const Value& properties) override;

  const std::shared_ptr<Crate>& crate() const { return crate_; }

 private:
  Depot& depot_;
  std::shared_ptr<Shelf> shelf_;
  std::shared_ptr<Crate> crate_;
};

class ShelfObject final : public ScriptObject {
 public:
  ShelfObject(Depot& depot, std::shared_ptr<Shelf> shelf) : depot_(depot), shelf_(std::move(shelf)) {}

  Code classCode() const override { return code("shlf"); }
  Value specifier() const override {
    return element::identified(depotReference(depot_), code("shlf"), Value::text(shelf_->id));
  }
  Outcome<Value> property(Code property) override {
    switch (property) {
      case code("ID  "):
        return Value::text(shelf_->id);
      case code("pnam"):
        return Value::text(shelf_->name);
      case code("lmit"):
        return Value::integer(shelf_->limit);
      default:
        return failure(error::noSuchObject);
    }
  }
  Outcome<void> setProperty(Code property, const Value& value) override {
    if (property == code("pnam")) {
      if (!value.isText()) return failure(error::cannotMake);
      shelf_->name = value.asText();
      return {};
    }
    if (property != code("lmit")) return ScriptObject::setProperty(property, value);
    if (!value.is(Kind::Integer)) return failure(error::cannotMake);
    shelf_->limit = value.asInteger();
    return {};
  }
  Outcome<std::vector<ObjectRef>> elements(Code elementClass) override {
    if (elementClass != code("crat")) return failure(error::noSuchObject);
    std::vector<ObjectRef> all;
    for (const auto& crate : shelf_->crates)
      all.push_back(std::make_shared<CrateObject>(depot_, shelf_, crate));
    return all;
  }
  Outcome<ObjectRef> make(Code elementClass, const Value& properties, const Place& place) override {
    if (elementClass != code("crat")) return failure(error::cannotMakeClass);
    auto crate = std::make_shared<Crate>();
    crate->id = depot_.nextId++;
    const auto made = std::make_shared<CrateObject>(depot_, shelf_, crate);
    for (const auto& [name, value] : properties.fields()) {
      if (auto done = made->setProperty(name.code(), value); !done) return std::unexpected(done.error());
    }
    const bool first = place.position == Place::Position::Beginning;
    shelf_->crates.insert(first ? shelf_->crates.begin() : shelf_->crates.end(), crate);
    return made;
  }

  const std::shared_ptr<Shelf>& shelf() const { return shelf_; }

 private:
  Depot& depot_;
  std::shared_ptr<Shelf> shelf_;
};

class RootObject final : public ScriptObject {
 public:
  explicit RootObject(Depot& depot) : depot_(depot) {}
  Code classCode() const override { return code("capp"); }
  Value specifier() const override { return depotReference(depot_); }
  Outcome<Value> property(Code property) override {
    switch (property) {
      case code("mott"):
        return Value::text(depot_.motto);
      case code("mshf"):
        return Value::live(std::make_shared<ShelfObject>(depot_, depot_.shelves.front()));
      case code("pick"): {
        std::vector<Value> picked;
        for (const auto id : depot_.picked) {
          for (const auto& shelf : depot_.shelves) {
            for (const auto& crate : shelf->crates) {
              if (crate->id == id)
                picked.push_back(Value::live(std::make_shared<CrateObject>(depot_, shelf, crate)));
            }
          }
        }
        return Value::list(std::move(picked));
      }
      default:
        return failure(error::noSuchObject);
    }
  }
  Outcome<void> setProperty(Code property, const Value& value) override {
    if (property == code("mott")) {
      depot_.motto = value.asText();
      return {};
    }
    if (property != code("pick")) return ScriptObject::setProperty(property, value);
    std::vector<Value> given = value.isList() ? value.items() : std::vector<Value>{value};
    std::vector<std::int64_t> picked;
    for (const auto& item : given) {
      const auto crate = std::dynamic_pointer_cast<CrateObject>(item.asLive());
      if (!crate) return failure(error::cannotMake);
      picked.push_back(crate->crate()->id);
    }
    depot_.picked = picked;
    return {};
  }
  Outcome<std::vector<ObjectRef>> elements(Code elementClass) override {
    if (elementClass != code("shlf")) return failure(error::noSuchObject);
    std::vector<ObjectRef> all;
    for (const auto& shelf : depot_.shelves) all.push_back(std::make_shared<ShelfObject>(depot_, shelf));
    return all;
  }
  Outcome<ObjectRef> make(Code elementClass, const Value& properties, const Place&) override {
    if (elementClass != code("shlf")) return failure(error::cannotMakeClass);
    auto shelf = std::make_shared<Shelf>();
    shelf->id = "S" + std::to_string(depot_.nextId++);
    depot_.shelves.push_back(shelf);
    const auto made = std::make_shared<ShelfObject>(depot_, shelf);
    for (const auto& [name, value] : properties.fields()) {
      if (auto done = made->setProperty(name.code(), value); !done) return std::unexpected(done.error());
    }
    return made;
  }

 private:
  Depot& depot_;
};

Outcome<Value> CrateObject::property(Code property) {
  switch (property) {
    case code("ID  "):
      return Value::integer(crate_->id);
    case code("crid"):
      return Value::text("C-" + std::to_string(crate_->id));
    case code("pnam"):
      return Value::text(crate_->name);
    case code("wght"):
      return Value::real(crate_->weight);
    case code("tint"):
      return Value::constant(crate_->tint);
    case code("seld"):
      return Value::boolean(crate_->sealed);
    case code("pdat"):
      return Value::date(86400 * crate_->id);
    case code("note"):
      return crate_->notes.empty() ? Value::missing() : Value::text(crate_->notes);
    case code("shlf"):
      return Value::live(std::make_shared<ShelfObject>(depot_, shelf_));
    default:
      return failure(error::noSuchObject);
  }
}

Outcome<void> CrateObject::setProperty(Code property, const Value& value) {
  switch (property) {
    case code("pnam"):
      crate_->name = value.asText();
      return {};
    case code("wght"):
      if (!value.isNumber()) return failure(error::cannotMake);
      crate_->weight = value.asReal();
      return {};
    case code("tint"):
      if (!value.is(Kind::Constant)) return failure(error::cannotSet);
      crate_->tint = value.asCode();
      return {};
    case code("seld"):
      if (!value.is(Kind::Boolean)) return failure(error::wrongType);
      crate_->sealed = value.asBoolean();
      return {};
    case code("note"):
      crate_->notes = value.asText();
      return {};
    case code("shlf"): {
      const auto shelf = std::dynamic_pointer_cast<ShelfObject>(value.asLive());
      if (!shelf) return failure(error::cannotMake);
      std::erase(shelf_->crates, crate_);
      shelf->shelf()->crates.push_back(crate_);
      return {};
    }
    default:
      return ScriptObject::setProperty(property, value);
  }
}

Outcome<ObjectRef> CrateObject::moveTo(const Place& place) {
  const auto shelf = std::dynamic_pointer_cast<ShelfObject>(place.container);
  if (!shelf) return failure(error::cannotMoveThere);
  std::erase(shelf_->crates, crate_);
  auto& crates = shelf->shelf()->crates;
  auto at = place.position == Place::Position::Beginning ? crates.begin() : crates.end();
  if (const auto sibling = std::dynamic_pointer_cast<CrateObject>(place.sibling)) {
    at = std::ranges::find(crates, sibling->crate());
    if (place.position == Place::Position::After) ++at;
  }
  crates.insert(at, crate_);
  return std::make_shared<CrateObject>(depot_, shelf->shelf(), crate_);
}

Outcome<ObjectRef> CrateObject::duplicateTo(const std::optional<Place>& place, const Value& properties) {
  auto shelf = place ? std::dynamic_pointer_cast<ShelfObject>(place->container)
                     : std::make_shared<ShelfObject>(depot_, shelf_);
  if (!shelf) return failure(error::cannotMoveThere);
  auto copy = std::make_shared<Crate>(*crate_);
  copy->id = depot_.nextId++;
  shelf->shelf()->crates.push_back(copy);
  const auto made = std::make_shared<CrateObject>(depot_, shelf->shelf(), copy);
  for (const auto& [name, value] : properties.fields()) {
    if (auto done = made->setProperty(name.code(), value); !done) return std::unexpected(done.error());
  }
  return made;
}

}  // namespace

Depot::Depot(std::chrono::nanoseconds& clock) : clock_(clock) {
  auto terms =
      Terminology::parse(readText(std::string(QUILLBOX_SOURCE_DIR) + "/tests/applescript/depot.sdef"));
  if (!terms) fatal(terms.error().message);
  terms_ = *terms;
  const auto crate = [](std::int64_t id, const char* its, double weight, const char* tint) {
    auto made = std::make_shared<Crate>();
    made->id = id;
    made->name = its;
    made->weight = weight;
    made->tint = code(tint);
    made->sealed = id == 2;
    return made;
  };
  shelves = {std::make_shared<Shelf>(), std::make_shared<Shelf>(), std::make_shared<Shelf>()};
  *shelves[0] = {
      "N",
      "North",
      100,
      {crate(1, "apples", 10, "tnrd"), crate(2, "pears", 20.5, "tngr"), crate(3, "plums", 5, "tnno")}};
  *shelves[1] = {"S", "South \"old\"", 50, {crate(4, "Äpfel \\ Birnen", 40, "tnbl")}};
  *shelves[2] = {"E", "Empty", 10, {}};
}

Outcome<void> Depot::beginEvent(std::chrono::nanoseconds) {
  if (closed) return failure(error::notRunning);
  ++open_;
  ++events;
  return {};
}

ObjectRef Depot::root() {
  return std::make_shared<RootObject>(*this);
}

Outcome<Value> Depot::perform(const Event& event) {
  EXPECT_EQ(open_, 1);
  switch (event.command->id) {
    case code("wegh"): {
      double total = 0;
      const auto items = event.direct.isList() ? event.direct.items() : std::vector<Value>{event.direct};
      for (const auto& item : items) {
        const auto crate = std::dynamic_pointer_cast<CrateObject>(item.asLive());
        if (!crate) return failure(error::wrongType);
        total += crate->crate()->weight;
      }
      if (const auto* gross = event.parameter(code("gros")); gross && gross->asBoolean()) total += 1;
      if (const auto* unit = event.parameter(code("unit")); unit && unit->asText() == "grams") total *= 1000;
      return Value::real(total);
    }
    case code("bell"):
      ++bells;
      return Value::nothing();
    case code("echo"):
      return event.direct.isNothing() ? Value::live(event.target) : event.direct;
    case code("stok"): {
      const auto& rows = event.direct.items();
      if (rows.empty()) return failure(error::cannotMake, "Nothing to stock up with.");
      return Value::boolean(std::ranges::all_of(rows, [](const Value& row) {
        const auto* what = row.field("crateName");
        return what && what->isText() && !what->asText().empty();
      }));
    }
    case code("dawd"):
      clock_ += std::chrono::seconds(event.parameter(code("secs"))->asInteger());
      return Value::nothing();
    default:
      return failure(error::notUnderstood);
  }
}

DepotHost::DepotHost() : depot(time_) {}

Application* DepotHost::application(std::string_view name) {
  const auto folded = text::foldCase(name);
  return folded == "depot" || folded == "com.example.depot" ? &depot : nullptr;
}

}  // namespace quillbox::applescript::cases
