# fish completion for tobrel-devserver

complete -c tobrel-devserver -f
complete -c tobrel-devserver -l storage -x -a '(__fish_complete_directories)' -d 'the folder of the users\' files'
complete -c tobrel-devserver -l user -x -d 'a user and the API key, EMAIL=KEY'
complete -c tobrel-devserver -l database -r -F -d 'keep grants and links in a file'
complete -c tobrel-devserver -l port -x -d '0 takes a free one'
complete -c tobrel-devserver -l web-user -x -d 'who is signed in to the file browser'
complete -c tobrel-devserver -l log -r -F -d 'one line a request'
complete -c tobrel-devserver -l list-items -x -d 'print what a user sees'
complete -c tobrel-devserver -l now -x -d 'start the clock at a time'
complete -c tobrel-devserver -l latency -x -d 'wait before each answer'
complete -c tobrel-devserver -l fault -x -d 'answer some requests with a status'
complete -c tobrel-devserver -l stall -x -d 'do not answer some requests'
complete -c tobrel-devserver -l help -d 'print the usage'
