// A header of the parent with the name of one of the library's internal ones.
#error "the library includes a header of its parent"
