// ztk conf FILE-or-APP list|get|set|delete|export: a configuration as its users edit it.

#include <cstdio>
#include <memory>

#include "tools/ztk/commands.h"
#include "tools/ztk/conf_file.h"
#include "tools/ztk/failure.h"
#include "tools/ztk/json.h"

namespace {

struct ConfOptions {
  std::string file;
  std::string group;
  std::string key;
  std::string value;
  bool asJson = false;
};

using Options = std::shared_ptr<ConfOptions>;

// {"Painter/Window": {"Width": "640"}}
void PrintEntriesAsJson(ConfFile& conf, const std::string& group) {
  Json groups = Json::object();
  conf.ForEachEntry(group, [&groups](const std::string& name, const std::string& key,
                                     const std::string& value) { groups[name][key] = value; });
  PrintJson(groups);
}

void PrintLines(ConfFile& conf, const std::string& group) {
  std::string current;
  conf.ForEachEntry(
      group, [&current](const std::string& name, const std::string& key, const std::string& value) {
        if (name != current) std::printf("[%s]\n", name.c_str());
        current = name;
        std::printf("%s=%s\n", key.c_str(), value.c_str());
      });
}

[[noreturn]] void NotFound(const ConfFile& conf, const std::string& what) {
  throw Failure(kNo, conf.Path() + ": there is no " + what);
}

void RunList(const ConfOptions& options) {
  ConfFile conf(options.file, ConfFile::Missing::kRefuse);
  if (!options.group.empty() && !conf.HasGroup(options.group)) {
    NotFound(conf, "[" + options.group + "]");
  }
  if (options.asJson) {
    PrintEntriesAsJson(conf, options.group);
  } else {
    PrintLines(conf, options.group);
  }
}

void RunGet(const ConfOptions& options) {
  ConfFile conf(options.file, ConfFile::Missing::kRefuse);
  std::string value;
  if (!conf.Get(options.group, options.key, value)) {
    NotFound(conf, options.key + " in [" + options.group + "]");
  }
  if (options.asJson) {
    value = JsonText(value, -1);
  }
  std::puts(value.c_str());
}

void RunSet(const ConfOptions& options) {
  ConfFile conf(options.file, ConfFile::Missing::kCreate);
  conf.Set(options.group, options.key, options.value);
  conf.Save();
}

void RunDelete(const ConfOptions& options) {
  ConfFile conf(options.file, ConfFile::Missing::kRefuse);
  if (options.key.empty() && !conf.DeleteGroup(options.group)) {
    NotFound(conf, "[" + options.group + "]");
  }
  if (!options.key.empty() && !conf.Delete(options.group, options.key)) {
    NotFound(conf, options.key + " in [" + options.group + "]");
  }
  conf.Save();
}

void AddGroup(CLI::App& command, const Options& options, bool isRequired) {
  command.add_option("GROUP", options->group, "A group as its header names it: Painter/Window")
      ->required(isRequired);
}

void AddKey(CLI::App& command, const Options& options, bool isRequired) {
  command.add_option("KEY", options->key, "A key of the group")->required(isRequired);
}

}  // namespace

void AddConfCommand(CLI::App& app) {
  const auto options = std::make_shared<ConfOptions>();
  CLI::App& conf = *app.add_subcommand("conf", "Read and edit configurations");
  conf.add_option("FILE-or-APP", options->file,
                  "A path that ends in .conf, or the name of an application")
      ->required();
  conf.require_subcommand(1);

  CLI::App& list = *conf.add_subcommand("list", "Print all entries, or those below a group");
  AddGroup(list, options, false);
  AddJsonFlag(list, options->asJson);
  list.callback([options] { RunList(*options); });

  CLI::App& get = *conf.add_subcommand("get", "Print one value");
  AddGroup(get, options, true);
  AddKey(get, options, true);
  AddJsonFlag(get, options->asJson);
  get.callback([options] { RunGet(*options); });

  CLI::App& set = *conf.add_subcommand("set", "Set one value");
  AddGroup(set, options, true);
  AddKey(set, options, true);
  set.add_option("VALUE", options->value, "The new value")->required();
  set.callback([options] { RunSet(*options); });

  CLI::App& remove =
      *conf.add_subcommand("delete", "Delete an entry, or a group with all below it");
  AddGroup(remove, options, true);
  AddKey(remove, options, false);
  remove.callback([options] { RunDelete(*options); });

  CLI::App& exported = *conf.add_subcommand("export", "Print all entries as JSON");
  AddGroup(exported, options, false);
  exported.callback([options] {
    options->asJson = true;
    RunList(*options);
  });
}
