// team/teamday.cpp: the script of the day. Each step says what was done, once it is.
#include "teamday.h"

#include <stdexcept>

#include "foldapi/foldapi.h"

namespace team {

namespace {

class Day {
 public:
  Day(const Place& place, const std::string& me) : place_(place), me_(me), team_(place) {}

  std::string run() {
    TVHandle* const root = Init("", "");
    OpenProjectRoot(root);
    CreateProject(root, "Pump Station", place_.text("home/" + me_ + "/pump").c_str(),
                  place_.text("work/pump").c_str());
    TVHandle* const project = FindProject(root, "Pump Station");
    if (OpenProject(project) != 1) throw std::runtime_error("no project was created");
    tell(me_, "creates the project Pump Station");
    configure(project);
    addFiles(project);
    CloseProjectRoot(root);
    developPump();
    return told_;
  }

 private:
  void tell(const std::string& member, const std::string& what) {
    told_ += member + " " + what + "\n";
  }
  Moment now() {
    minute_ += 25;
    return {2026, 3, 2, 8 + minute_ / 60, minute_ % 60, 0};
  }

  void configure(TVHandle* project) {
    SetProjectVCSDirs(project, place_.text("vault/pump").c_str());
    const std::string file = FoldapiNativePath(GetProjectCfgFile(project));
    writeFile(file, readFile(file) + "PROMOTE development = test\r\nPROMOTE test = production\r\n");
    team_.useProject(project);
    tell(me_, "configures its archive directory and the groups development, test and production");
  }

  void addFiles(TVHandle* project) {
    for (const File* file : {&pump_, &valve_}) {
      const std::string workfile = file->workfile.substr(file->workfile.rfind('/') + 1);
      team_.create(me_, *file, "Pump station: " + workfile, now());
      AddExistingArchive(project, workfile.c_str(), place_.text(file->archive).c_str());
      tell(me_, "adds " + workfile + " with a new archive");
      checkIn(me_, *file, {"1.0", nullptr, "First version"});
    }
  }

  void checkIn(const std::string& member, const File& file, const CheckIn& what) {
    team_.checkIn(member, file, what, now());
    tell(member, "checks in " + file.workfile.substr(file.workfile.rfind('/') + 1) + " " +
                     what.number + ": " + what.change);
  }
  void label(const std::string& member, const char* name, const char* revision, bool floats) {
    team_.label(member, pump_, name, revision, floats);
    tell(member, std::string("labels pump.c ") + revision + " as " + name +
                     (floats ? ", which floats with the tip of its branch" : ""));
  }
  void promote(const std::string& member, const char* revision, const char* from, const char* to) {
    team_.promote(member, pump_, from);
    tell(member, std::string("promotes pump.c ") + revision + " to " + to);
  }

  void developPump() {
    label("bkoch", "NEXT", "1.0", true);
    checkIn("bkoch", pump_, {"1.1", "1.0", "Measure the pressure twice a second"});
    label("bkoch", "REL_1", "1.1", false);
    checkIn("ahuber", pump_, {"1.2", "1.1", "Stop when the tank is full"});
    promote("ahuber", "1.2", "development", "test");
    checkIn("bkoch", pump_, {"1.1.1.0", "1.1", "Repair REL_1: start without a valve"});
    checkIn("bkoch", pump_, {"1.1.1.1", "1.1.1.0", "The same for the second pump"});
    label("bkoch", "REL_1A", "1.1.1.1", false);
    promote("ahuber", "1.2", "test", "production");
    promote("bkoch", "1.1.1.1", "development", "test");
    team_.lock(me_, pump_, "1.2");
    tell(me_, "locks pump.c 1.2");
  }

  const Place& place_;
  const std::string me_;
  Teamwork team_;
  const File pump_ = {"vault/pump/pump.c_v", "work/pump/pump.c"};
  const File valve_ = {"vault/pump/valve.c_v", "work/pump/valve.c"};
  int minute_ = 0;
  std::string told_;
};

}  // namespace

std::string spendDay(const Place& place, const std::string& me) { return Day(place, me).run(); }

}  // namespace team
