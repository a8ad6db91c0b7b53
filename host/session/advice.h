// Advice to the user that several messages share.
#pragma once

#include <string>

inline const std::string SeeDoctor = "see 'tamborin-host doctor'";
inline const std::string DoctorTells = "'tamborin-host doctor' tells why";
inline const std::string StartSoundServer =
    "start a sound server (PulseAudio or PipeWire), or " + SeeDoctor;
inline const std::string SoundServerHangs =
    "does the sound server hang, or has it ended? " + DoctorTells;
inline const std::string NameLibrary = "name the library with --module";
