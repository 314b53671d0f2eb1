// The profiles in the database.
#pragma once

#include <memory>

#include "profile_book.h"

namespace fendrel::store {

// Opens the database in use (store_place.h; looked up each time) and its profiles; creates it and its folders if
// missing. NotFound if the user has no folder for it; else fails like opening a database.
Status openProfileBook(std::shared_ptr<ProfileBook>& book);

}  // namespace fendrel::store
