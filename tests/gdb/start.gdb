# Brings the program lines to where it calls look() first.
set pagination off
set confirm off
set print pretty on
set print thread-events off
break look
commands
silent
up-silently
end
run
set trace-commands on
