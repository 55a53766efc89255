1 0 @stat
