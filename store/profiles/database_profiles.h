// The profiles that are kept in the database.
#pragma once

#include <memory>

#include "profile_book.h"

namespace fendrel::store {

// Opens the database in use (store_place.h; asked anew each time) and the profiles in it, creating it and its folders
// when missing. NotFound where the user has no place for one; else fails as opening a database does.
Status openProfileBook(std::shared_ptr<ProfileBook>& book);

}  // namespace fendrel::store
