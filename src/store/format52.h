// store/format52.h: the classes of the database, made known to the factories.
#pragma once

namespace foldapi {

// Registers the rule records of the abstract classes and of format 5.2. To be called before the
// first object is made; again does nothing.
void registerFormat52();

}  // namespace foldapi
