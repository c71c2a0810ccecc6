#compdef hearthix-sim kbdb
# What may follow is what the program's own help lists: of the subcommand, once there is one. Files may always.
local -a known
known=(${(f)"$($words[1] ${(M)words[2]:#[a-z]*} --help 2>/dev/null |
    sed -nE 's/^  (-[a-z],)?(--[a-z-]+) .*/\2/p; s/^  ([a-z][a-z-]+)  .*/\1/p')"})
compadd -a known
(( CURRENT == 2 )) || _files
