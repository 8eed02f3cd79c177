// An application for scripts to tell: a depot with shelves, and crates on them.
#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "applescript/host.h"
#include "snippet.h"

namespace quillbox::applescript::cases {

struct Crate {
  std::int64_t id = 0;
  std::string name;
  double weight = 0;
  Code tint = code("tnno");
  bool sealed = false;
  std::string notes;
};

struct Shelf {
  std::string id;
  std::string name;
  std::int64_t limit = 100;
  std::vector<std::shared_ptr<Crate>> crates;
};

class Depot final : public Application {
 public:
  // Two shelves: "North" with crates 1 to 3, "South \"old\"" with crate 4; "Empty" with none.
  explicit Depot(std::chrono::nanoseconds& clock);

  const std::string& name() const override { return name_; }
  std::string identifier() const override { return "com.example.depot"; }
  const Terminology& terminology() const override { return *terms_; }
  Outcome<void> beginEvent(std::chrono::nanoseconds timeout) override;
  void endEvent() override { --open_; }
  ObjectRef root() override;
  Outcome<Value> perform(const Event& event) override;

  std::vector<std::shared_ptr<Shelf>> shelves;
  std::vector<std::int64_t> picked = {3, 1};
  std::string motto = "Handle with care";
  std::int64_t nextId = 10;
  int bells = 0;
  int events = 0;       // answered so far
  bool closed = false;  // answers nothing but -600

  // Whether every event that began has ended.
  bool isIdle() const { return open_ == 0; }

 private:
  std::string name_ = "Depot";
  std::shared_ptr<const Terminology> terms_;
  std::chrono::nanoseconds& clock_;
  int open_ = 0;
};

// Knows the depot, and an application that nobody may talk to.
class DepotHost final : public QuietHost {
 public:
  DepotHost();
  Application* application(std::string_view name) override;
  std::chrono::nanoseconds steady() override { return time_ += std::chrono::microseconds{1}; }

 private:
  std::chrono::nanoseconds time_{0};

 public:
  Depot depot;
};

}  // namespace quillbox::applescript::cases
