1 0 @card
