#include "settings/user_settings.h"

#include <array>
#include <map>
#include <utility>

#include <fmt/format.h>

#include "base/error_numbers.h"
#include "base/text.h"
#include "settings/settings_table.h"

namespace quillbox {

// What the settings do with a property of any type, by key.
struct SettingAccess {
  using Registration = settings_table::Registration;

  std::string_view key;
  Registration registration;
  DefaultsValue fallback;
  void (*attach)(SettingsProperties&, SettingStore&, std::string_view key);
  // Puts the stored value into the property; nullopt or what does not decode gives the fallback. The error
  // says what would have been accepted.
  Result<void> (*load)(SettingsProperties&, const std::optional<DefaultsValue>& stored);
  DefaultsValue (*current)(const SettingsProperties&);
  std::string (*json)(const SettingsProperties&);
  Result<void> (*check)(const DefaultsValue&);
  Result<DefaultsValue> (*parse)(std::string_view text);
  std::string_view element;  // of a list that is stored as JSON data, else empty

  template <auto Member>
  static SettingAccess of(const settings_table::Row<Member>& row) {
    using Value = settings_table::ValueOf<Member>;
    using Codec = settings_table::CodecOf<Member>;
    SettingAccess access{
        row.key,
        row.registration,
        Codec::encode(row.fallbackValue()),
        [](SettingsProperties& all, SettingStore& store, std::string_view key) {
          (all.*Member).store_ = &store;
          (all.*Member).key_ = key;
        },
        [](SettingsProperties& all, const std::optional<DefaultsValue>& stored) -> Result<void> {
          auto value = stored ? Codec::decode(*stored) : Result<Value>(fallbackOf<Member>());
          (all.*Member).value_.set(value ? *value : fallbackOf<Member>());
          if (!value) return forward(value);
          return {};
        },
        [](const SettingsProperties& all) { return Codec::encode((all.*Member).get()); },
        [](const SettingsProperties& all) { return Codec::json((all.*Member).get()); },
        [](const DefaultsValue& stored) -> Result<void> {
          if (const auto value = Codec::decode(stored); !value) return forward(value);
          return {};
        },
        [](std::string_view text) -> Result<DefaultsValue> {
          const auto value = Codec::parse(text);
          if (!value) return forward(value);
          return Codec::encode(*value);
        },
        {}};
    if constexpr (setting_codec::StoredAsData<Value>) access.element = Codec::element;
    return access;
  }

  template <auto Member>
  static settings_table::ValueOf<Member> fallbackOf() {
    return std::get<settings_table::Row<Member>>(settings_table::table).fallbackValue();
  }
};

namespace {

const std::array<SettingAccess, settings_table::size>& accesses() {
  static const auto all = std::apply(
      [](const auto&... rows) {
        return std::array<SettingAccess, settings_table::size>{SettingAccess::of(rows)...};
      },
      settings_table::table);
  return all;
}

const SettingAccess* find(std::string_view key) {
  static const auto byKey = [] {
    std::map<std::string_view, const SettingAccess*> map;
    for (const auto& access : accesses()) map.emplace(access.key, &access);
    return map;
  }();
  const auto it = byKey.find(key);
  return it == byKey.end() ? nullptr : it->second;
}

std::unexpected<Error> unknownKey(std::string_view key) {
  return fail(error_number::settingNotFound,
              fmt::format("There is no setting named \"{}\"", text::singleLine(text::toValidUtf8(key))));
}

std::unexpected<Error> invalidValue(const SettingAccess& access, std::string_view value,
                                    const Error& reason) {
  std::string shown = text::singleLine(text::toValidUtf8(value));
  if (shown.size() > 200) shown = text::toValidUtf8(shown.substr(0, 200)) + "…";
  if (access.element.empty()) {
    return fail(error_number::settingValueInvalid,
                fmt::format("\"{}\" is no value for {}: it takes {}", shown, access.key, reason.message));
  }
  return fail(error_number::settingValueInvalid,
              fmt::format("\"{}\" is no value for {}: it takes JSON data ({}). {}", shown, access.key,
                          access.element, reason.message));
}

std::string bareText(const SettingsProperties& all, const SettingAccess& access) {
  const DefaultsValue value = access.current(all);
  if (const auto* text = std::get_if<std::string>(&value)) return *text;
  return access.json(all);
}

}  // namespace

UserSettings::UserSettings(UserDefaults& defaults, Log& log) : defaults_(defaults), log_(log) {
  std::map<std::string, DefaultsValue> registered;
  for (const auto& access : accesses()) {
    access.attach(*this, *this, access.key);
    if (access.registration != SettingAccess::Registration::unregistered)
      registered.emplace(access.key, access.fallback);
  }
  defaults_.registerDefaults(std::move(registered));
  for (const auto& access : accesses()) load(access.key);
  changes_ = defaults_.observe([this](const std::string& key) { load(key); });
  writeBack();
}

void UserSettings::load(std::string_view key) {
  const SettingAccess* access = find(key);
  if (access == nullptr) return;
  const auto stored = defaults_.get(key);
  const auto loaded = access->load(*this, stored);
  if (loaded) return;
  if (access->element.empty()) {
    log_.error(fmt::format("The stored value of the setting {} is not {}; the default is in force", key,
                           loaded.error().message));
    return;
  }
  log_.error(fmt::format("Unable to Decode Array of {} ({})", access->element, loaded.error().message));
  const std::string aside = fmt::format("{}.unreadable", key);
  if (const auto kept = defaults_.set(aside, *stored); kept) {
    log_.error(fmt::format("The unreadable setting {} is kept under {}", key, aside));
  } else {
    log_.error(kept.error().message);
  }
}

void UserSettings::writeBack() {
  std::map<std::string, DefaultsValue> values;
  std::map<std::string, DefaultsValue> forced;
  for (const auto& access : accesses()) {
    if (access.registration == SettingAccess::Registration::forced) {
      (void)access.load(*this, access.fallback);
      forced.emplace(access.key, access.fallback);
    }
    values.emplace(access.key, access.current(*this));
  }
  // Another process may have set a key since this one read it: that stays.
  auto written = defaults_.setAll(std::move(values), Overwrite::unchangedOnly);
  if (written) written = defaults_.setAll(std::move(forced));
  if (!written) log_.error(written.error().message);
}

Result<void> UserSettings::check(std::string_view key, const DefaultsValue& value) {
  const SettingAccess& access = *find(key);
  const auto readable = access.check(value);
  if (readable) return {};
  const auto* bytes = std::get_if<Data>(&value);
  const auto refusal = invalidValue(
      access, bytes != nullptr ? std::string_view(bytes->bytes) : "the new value", readable.error());
  log_.error(refusal.error().message);
  return refusal;
}

Result<void> UserSettings::write(std::string_view key, DefaultsValue value) {
  if (auto readable = check(key, value); !readable) return readable;
  if (auto written = defaults_.set(key, std::move(value)); !written) {
    log_.error(written.error().message);
    return written;
  }
  // What the suite holds now: an observer may have set the key once more meanwhile.
  load(key);
  return {};
}

Result<bool> UserSettings::writeIfUnchanged(std::string_view key, DefaultsValue value) {
  if (auto readable = check(key, value); !readable) return forward(readable);
  const auto before = defaults_.stored(key);
  if (auto written = defaults_.setAll({{std::string(key), value}}, Overwrite::unchangedOnly); !written) {
    log_.error(written.error().message);
    return forward(written);
  }
  const auto now = defaults_.stored(key);
  if (now != value && now == before) {
    // Nobody else has written. What stands there has no form that is known, and gives way as it does to
    // write().
    if (auto written = write(key, std::move(value)); !written) return forward(written);
    return true;
  }
  load(key);
  return now == value;
}

std::vector<SettingValue> UserSettings::allValues() const {
  std::vector<SettingValue> values;
  for (const auto& access : accesses())
    values.push_back({access.key, bareText(*this, access), access.json(*this)});
  return values;
}

Result<SettingValue> UserSettings::valueOf(std::string_view key) const {
  const SettingAccess* access = find(key);
  if (access == nullptr) return unknownKey(key);
  return SettingValue{access->key, bareText(*this, *access), access->json(*this)};
}

Result<void> UserSettings::setValue(std::string_view key, std::string_view text) {
  const SettingAccess* access = find(key);
  if (access == nullptr) return unknownKey(key);
  auto value = access->parse(text);
  if (!value) return invalidValue(*access, text, value.error());
  return write(key, *std::move(value));
}

}  // namespace quillbox
