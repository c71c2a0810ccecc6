# What may follow is what the program's own help lists: of the subcommand, once there is one. Files may always.
function __hearthix_tool_words
    set -l words (commandline -opc)
    $words[1] (string match -r '^[a-z].*' -- $words[2]) --help 2>/dev/null |
        string replace -fr '^  (?:-[a-z],)?(--[a-z-]+(?= )|[a-z][a-z-]+(?=  )).*' '$1'
end
complete -c (status basename | string replace .fish '') -a '(__hearthix_tool_words)'
