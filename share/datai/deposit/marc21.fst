1 0 v1
20 0 (|ISBN=|v20^a/)
22 0 (|ISSN=|v22^a/)
100 0 (if p(v100^a) then 'A=',rtrim(v100^a,' ,.') fi/),(if p(v110^a) then 'A=',rtrim(v110^a,' ,.') fi/),(if p(v111^a) then 'A=',rtrim(v111^a,' ,.') fi/)
700 0 (if p(v700^a) then 'A=',rtrim(v700^a,' ,.') fi/),(if p(v710^a) then 'A=',rtrim(v710^a,' ,.') fi/),(if p(v711^a) then 'A=',rtrim(v711^a,' ,.') fi/)
240 8 '/T=/'(v130^a/),(v240^a/),(v246^a/)
245 8 '/T=/',v245^a,' ',v245^b,' ',v245^p
260 8 '/P=/'(v260^a,' 'v260^a[2],' 'v260^b,' 'v260^b[2]/),(v264^a,' 'v264^a[2],' 'v264^b,' 'v264^b[2]/)
261 0 (|Y=|v260^c/),(|Y=|v264^c/)
440 8 '/R=/'(v440^a/),(v490^a/),(v830^a/)
500 4 (v500^a/),(v520^a/)
600 0 (if p(v600^a) then 'S=',rtrim(v600^a,' ,.') fi/),(if p(v610^a) then 'S=',rtrim(v610^a,' ,.') fi/),(if p(v650^a) then 'S=',rtrim(v650^a,' ,.') fi/),(if p(v651^a) then 'S=',rtrim(v651^a,' ,.') fi/)
900 4 v245^a,' ',v245^b,' ',v245^c,' '(v650^a/),(v100^a/),(v700^a/)
