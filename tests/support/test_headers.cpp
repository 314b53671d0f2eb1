// Nothing of its own: what is compiled here is the headers that tests share.
