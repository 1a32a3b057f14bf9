# init.mr and user.mr beside the program run first, in the same global scope.
mkdir -p host && cp "$MARL" "$(dirname "$MARL")/libmarl.so" host/
printf '#define FROM_INIT "init"\ngreeting = FROM_INIT;\nfunction helper() { return "helper"; }\n' > host/init.mr
printf 'greeting = greeting + "+user";\nsyntax error here\n' > host/user.mr
host/marl -e 'print(greeting, " ", helper());' 2>&1 | sed "s|$PWD|.|"
rm host/user.mr && mkdir host/user.mr
host/marl -e 'print(greeting);'
