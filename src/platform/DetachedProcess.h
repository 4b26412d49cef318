// Starts a program that lives on by itself: its own session, not our
// child (so it is never a zombie of ours), /dev/null for its standard
// streams and none of our other descriptors.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "calvorin/SupportDefs.h"

class DetachedProcess {
public:
    // Starts path. When launchMessage is given, its bytes are handed over in
    // a sealed in-memory file that the program inherits as descriptor 3,
    // named on its command line as LaunchMessage::Argument(3). B_OK once the
    // program runs; B_LAUNCH_FAILED when it could not be started.
    static status_t Start(const std::string& path, const std::vector<uint8_t>* launchMessage);
    // Starts arguments[0] (a path) with the arguments that follow it.
    static status_t Start(const std::vector<std::string>& arguments);

private:
    static status_t Spawn(const std::vector<std::string>& arguments,
                          const std::vector<uint8_t>* launchMessage);
};
