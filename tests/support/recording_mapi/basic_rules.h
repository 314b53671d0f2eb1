// The rules of MAPI that hold after every test on the double.
#pragma once

#include "recording_client.h"

namespace fendrel::test {

// Everything was released, freed and logged off, MAPI was initialised as often as uninitialised (`unmatched` times more
// where a test expects it), and no call broke MAPI's rules. The first test of a program that finds a rule broken says how;
// those after it name that test, because a rule that is broken everywhere is one mistake.
void expectBasicRules(const RecordingMapi& mapi, int32_t unmatched = 0);

}  // namespace fendrel::test
