// store/ownplace.h: whether a workfile is where its user wants files.
//
// A public record is the word of whoever may write the team's data files. It may lead anywhere: by
// a full path, or by "..". What the user's own records say is his word: the private WKDIR of a
// project unless it is the public one, which is copied there, and all of a private folder. His own
// places are what is below that, below his private root, in the current directory if the whole path
// is relative, and below his home, but for names there that begin with ".": those are settings that
// programs follow.
#pragma once

#include "domain/archivemember.h"

namespace foldapi {

// True also for a place on a drive that nobody knows. Links that are the user's own are not looked
// into.
bool IsInOwnPlace(const TVArchiveMember& member);

}  // namespace foldapi
