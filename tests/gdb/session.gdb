# A look into the program lines.  What it shows is session.txt.
echo -- nobody waits\n
info ttydb
print *iterator
print *held
print *given_back

set trace-commands off
continue
set trace-commands on
echo -- a thread waits\n
info ttydb
info ttydb *db
print *db
print *modems
print *console

echo -- an iterator that is through, a list that is cut, unknown options, a writer\n
set var iterator->next_category = 4
print *iterator
set print elements 3
print *held
set print elements 200
set var db->options = 6
set var db->rwlock.__data.__cur_writer = held->lock.__data.__owner
print *db

echo -- broken memory\n
set var modems->details.tag_name = 1
set var modems->next_block = modems
set var console->next_block = 1
print *db
info ttydb db
set var modems->ttys = 1
set var modems->details.capacity = 0xffffffff
print *modems
set var held->item_list_head->next_item->next_item = held->item_list_head
set var held->lock.__data.__owner = 1
set var held->lock_owner = 2
print *held
set var ptd_mutex_block_list->routine = 1
set var ptd_mutex_block_list->mutex = 1
set var ptd_mutex_block_list->next = ptd_mutex_block_list
info ttydb
